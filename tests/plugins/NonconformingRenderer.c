/* A renderer that breaks its contract in the way that the environment variable TELLAR_TEST_FAULT
   names, and keeps it without the variable. Its pictures are texts with the number of locations. */

#define _POSIX_C_SOURCE 200809L /* threads, nanosleep */

#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRendererPluginSuite2.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/OxPluginApi.h>

static const OxPluginHost* host;

static int setHost(struct OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

static int isFault(const char* name) {
    const char* fault = getenv("TELLAR_TEST_FAULT");
    return fault && strcmp(fault, name) == 0;
}

static const OxScenegraphIteratorHostSuite_v4* getScenes(void) {
    return host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
}

static const OxAttributeSuite_v4* getValues(void) {
    return host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
}

/* Makes an error of the host, unless the fault is to tell nothing. */
static void fail(OxErrorStruct** error, OxErrorCode code, const char* text) {
    const OxErrorFacts facts = {code, text, "", "", "", "", ""};
    if (error) *error = isFault("silent") ? NULL : getValues()->createError(&facts);
}

/* ---- Renders: objects whose work is done by one thread --------------------------------------- */

struct OxRenderStruct {
    OxSgIteratorStruct* root;
    char* picture; /* null: no file */
    OxRenderListener_v2 listener;
    pthread_t thread;
    pthread_mutex_t lock; /* guards the members below */
    pthread_cond_t changed;
    int wish;
    int status;
    float locations;
    char error[256];
};

static void* rest(void* unused) {
    for (;;)
        sleep(1000);
    return unused;
}

/* Faults that leave something behind with every render. */
static void leave(OxSgIteratorStruct* root) {
    if (isFault("leave memory")) memset(malloc(50000), 1, 50000);
    if (isFault("leave a file") && open("/dev/null", O_RDONLY) < 0) return;
    if (isFault("leave a thread")) {
        pthread_t thread;
        pthread_create(&thread, NULL, rest, NULL);
    }
    if (isFault("leak")) getScenes()->retainIterator(root);
}

static int wishOf(OxRenderStruct* render) {
    pthread_mutex_lock(&render->lock);
    const int wish = isFault("ignore wishes") ? kOxRenderGoOn : render->wish;
    pthread_mutex_unlock(&render->lock);
    return wish;
}

static int32_t count(OxVisit* visit, void* user) {
    OxRenderStruct* render = user;
    if (isFault("crash at errors") && visit->error) abort();
    const char* name = getScenes()->getName(visit->location, NULL);
    if (isFault("crash at names") && name && strcmp(name, "*") == 0) abort();
    ++render->locations;
    return wishOf(render) == kOxRenderGoOn ? kOxVisitGoOn : kOxVisitStop;
}

static int writePicture(OxRenderStruct* render) {
    if (!render->picture || isFault("no picture")) return 1;
    FILE* file = fopen(render->picture, "w");
    if (!file) {
        snprintf(render->error, sizeof render->error, "%s cannot be written", render->picture);
        return isFault("lose pictures");
    }
    static int pictures;
    fprintf(file, "%g locations\n", (double)render->locations);
    if (isFault("differ")) fprintf(file, "picture %d\n", ++pictures);
    fclose(file);
    if (render->listener.onPicture && !isFault("untold picture"))
        render->listener.onPicture(render->picture, render->listener.user);
    return 1;
}

static int draw(OxRenderStruct* render) {
    if (isFault("hang")) rest(NULL);
    if (isFault("crash")) abort();
    if (isFault("end unasked")) return kOxRenderCancelled;
    leave(render->root);
    getScenes()->visit(render->root, NULL, count, render, NULL);
    if (render->listener.onProgress)
        render->listener.onProgress(1.0, "done", render->listener.user);
    if (wishOf(render) != kOxRenderGoOn) {
        if (isFault("write when cancelled")) writePicture(render);
        return isFault("fail when cancelled") ? kOxRenderFailed : kOxRenderCancelled;
    }
    if (isFault("fail")) snprintf(render->error, sizeof render->error, "out of paint");
    return isFault("fail") || !writePicture(render) ? kOxRenderFailed : kOxRenderDone;
}

static void* run(void* user) {
    OxRenderStruct* render = user;
    const int status = draw(render);
    pthread_mutex_lock(&render->lock);
    render->status = status;
    pthread_cond_broadcast(&render->changed);
    pthread_mutex_unlock(&render->lock);
    return NULL;
}

/* ---- Version 2 ------------------------------------------------------------------------------- */

static OxRenderStruct* start(const OxRenderJob_v2* job, OxErrorStruct** error) {
    if (error) *error = NULL;
    if (!job->root) {
        fail(error, kOxErrorBadCall, "there is no root");
        return NULL;
    }
    OxRenderStruct* render = calloc(1, sizeof *render);
    render->root = job->root;
    getScenes()->retainIterator(render->root);
    render->picture = job->picture ? strdup(job->picture) : NULL;
    render->listener = job->listener;
    render->status = kOxRenderRunning;
    pthread_mutex_init(&render->lock, NULL);
    pthread_cond_init(&render->changed, NULL);
    pthread_create(&render->thread, NULL, run, render);
    return render;
}

static void request(OxRenderStruct* render, int32_t wish) {
    if (!render) return;
    pthread_mutex_lock(&render->lock);
    render->wish = wish;
    pthread_mutex_unlock(&render->lock);
}

static void release(OxRenderStruct* render) {
    if (!render) return;
    request(render, kOxRenderCancel);
    pthread_join(render->thread, NULL);
    getScenes()->releaseIterator(render->root);
    pthread_mutex_destroy(&render->lock);
    pthread_cond_destroy(&render->changed);
    free(render->picture);
    free(render);
}

static int32_t waitForEnd(OxRenderStruct* render, double seconds, OxErrorStruct** error) {
    if (error) *error = NULL;
    if (!render && !isFault("crash at null")) {
        fail(error, kOxErrorBadCall, "there is no render");
        return kOxRenderFailed;
    }
    pthread_mutex_lock(&render->lock);
    while (render->status == kOxRenderRunning && seconds < 0)
        pthread_cond_wait(&render->changed, &render->lock);
    const int status = render->status;
    pthread_mutex_unlock(&render->lock);
    const struct timespec pause = {0, (long)(seconds * 1e9)};
    if (status == kOxRenderRunning) nanosleep(&pause, NULL);
    if (status == kOxRenderFailed) fail(error, kOxErrorFile, render->error);
    return status;
}

static void ignore(OxRenderStruct* render) {
    (void)render;
}

static int32_t setRegion(OxRenderStruct* render, const OxPixelRegion* region,
                         OxErrorStruct** error) {
    if (error) *error = NULL;
    if (isFault("any region")) return 1;
    (void)region;
    fail(error, kOxErrorBadCall, render ? "there are no pixels" : "there is no render");
    return 0;
}

static int64_t getNumberOfLayers(OxRenderStruct* render) {
    return render ? 1 : 0;
}

static int32_t getLayer(OxRenderStruct* render, int64_t index, OxRenderLayer* layer) {
    if (!render || (index != 0 && !isFault("any layer"))) return 0;
    const OxPixelRegion pixel = {0, 0, 1, 1};
    layer->name = "";
    layer->channels = isFault("miscount channels") ? "R,G" : "N";
    layer->channelCount = 1;
    layer->isInteger = 0;
    layer->region = pixel;
    return 1;
}

static int64_t readLayer(OxRenderStruct* render, int64_t index, float* values, int64_t number,
                         OxErrorStruct** error) {
    if (error) *error = NULL;
    if (render && index == 0 && (number == 1 || isFault("any layer"))) {
        values[0] = render->locations;
        return 1;
    }
    fail(error, kOxErrorBadCall, render ? "there is no such layer" : "there is no render");
    return -1;
}

/* Counts anew. The fault is to stay with the old scene. */
static int32_t applyChanges(OxRenderStruct* render, const OxChangesStruct* changes,
                            OxErrorStruct** error) {
    if (error) *error = NULL;
    if (!render) {
        fail(error, kOxErrorBadCall, "there is no render");
        return 0;
    }
    if (isFault("refuse edits")) return 0;
    if (isFault("ignore edits")) return 1;
    OxSgIteratorStruct* root = getScenes()->getChangedRoot(changes, error);
    if (!root) return 0;
    getScenes()->releaseIterator(render->root);
    render->root = root;
    render->locations = 0;
    getScenes()->visit(root, NULL, count, render, NULL);
    return 1;
}

static const void* getSuite2(void) {
    static OxRendererPluginSuite_v2 suite = {sizeof(OxRendererPluginSuite_v2),
                                             2,
                                             start,
                                             release,
                                             waitForEnd,
                                             request,
                                             ignore,
                                             ignore,
                                             setRegion,
                                             getNumberOfLayers,
                                             getLayer,
                                             readLayer,
                                             applyChanges,
                                             NULL};
    if (isFault("size")) suite.size = 16;
    if (isFault("null slot")) suite.pause = NULL;
    return &suite;
}

/* ---- Version 1 ------------------------------------------------------------------------------- */

static int render(const OxRenderJob_v1* job) {
    OxRenderJob_v2 better = {0};
    better.size = sizeof better;
    better.root = job->root;
    better.picture = job->picture;
    better.listener.onProgress = job->listener.onProgress;
    better.listener.onPicture = job->listener.onPicture;
    better.listener.user = job->listener.user;
    OxRenderStruct* started = start(&better, NULL);
    int32_t status = kOxRenderRunning;
    while ((status = waitForEnd(started, 0.001, NULL)) == kOxRenderRunning)
        if (job->listener.isCancelled)
            request(started, job->listener.isCancelled(job->listener.user));
    if (status == kOxRenderFailed && job->listener.onMessage && !isFault("silent"))
        job->listener.onMessage(kOxLogError, started->error, job->listener.user);
    release(started);
    return status;
}

static const void* getSuite1(void) {
    static const OxRendererPluginSuite_v1 suite = {render, NULL};
    return &suite;
}

/* ---- The plug-ins ---------------------------------------------------------------------------- */

static const OxPluginRecord_v1 kRecords[] = {
    {OX_PLUGIN_RECORD_VERSION, "nonconforming", OX_RENDERER_API, OX_RENDERER_API_VERSION, 1, 0,
     getSuite1, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "nonconforming", OX_RENDERER_API, OX_RENDERER_API_VERSION_2, 1, 0,
     getSuite2, setHost, NULL}};

unsigned int OxGetPluginCount(void) {
    if (isFault("crash when loaded")) abort();
    return isFault("no plug-ins") ? 0 : 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index < 2 ? &kRecords[index] : NULL;
}
