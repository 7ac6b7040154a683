/* A renderer that misuses the suites of its host in one way a render: the job's picture names the
   way before its extension. Other pictures are rendered without a fault, and none is written. */

#define _POSIX_C_SOURCE 200809L /* threads */

#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxRendererPluginSuite2.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>

#include "ChecksPlugin.h"

/* What a fault gets. `child` is the first child of the root, retained. */
typedef struct Use {
    const OxRenderJob_v1* job;
    Suites old;                                     /* versions 3 and 1 */
    const OxScenegraphIteratorHostSuite_v4* scenes; /* null in a host without version 4 */
    const OxAttributeSuite_v4* values;
    OxSgIteratorStruct* child;
} Use;

/* From one render to the next. */
static OxSgIteratorStruct* keptLocation;
static OxRenderListener_v1 keptListener;

/* ---- Versions 2 and 3, and AttributeHost 1 --------------------------------------------------- */

static void useAfterRelease(const Use* use) {
    OxSgIteratorStruct* parent = use->old.iterators->getParent(use->child);
    use->old.iterators->retainIterator(parent);
    use->old.iterators->releaseIterator(parent);
    use->old.attributes->release(use->old.iterators->getName(parent));
}

static void releaseTwice(const Use* use) {
    OxAttributeStruct* name = use->old.iterators->getName(use->child);
    use->old.attributes->release(name);
    use->old.attributes->release(name);
}

static void leakAttribute(const Use* use) {
    use->old.iterators->getAttributeNames(use->child);
}

static void leakLocation(const Use* use) {
    OxSgIteratorStruct* root = use->old.iterators->getRoot(use->child);
    use->old.iterators->retainIterator(root);
    use->old.iterators->retainIterator(root);
    use->old.iterators->releaseIterator(root);
}

static void releaseUnretained(const Use* use) {
    use->old.iterators->releaseIterator(use->old.iterators->getFirstChild(use->child, false));
}

static void forgetUnretained(const Use* use) {
    use->old.iterators->getFirstChild(use->child, false);
}

static void passWrongKind(const Use* use) {
    OxAttributeStruct* name = use->old.iterators->getName(use->child);
    use->old.iterators->getParent((OxSgIteratorStruct*)(void*)name);
    use->old.attributes->release(name);
}

static void passForeign(const Use* use) {
    uint64_t nothing[16] = {0};
    use->old.attributes->getTupleSize((const OxAttributeStruct*)(void*)nothing);
}

static void passOldText(const Use* use) {
    OxAttributeStruct* name = use->old.iterators->getFullName(use->child);
    const char* text = use->old.attributes->getString(name, 0, 0);
    use->old.attributes->release(name);
    use->old.attributes->release(use->old.iterators->getAttribute(use->child, text));
}

static void passOldValues(const Use* use) {
    OxAttributeStruct* number = use->old.iterators->getAttribute(use->child, "number");
    int64_t count = 0;
    const int32_t* values = use->old.attributes->getIntSample(number, 0, &count);
    use->old.attributes->release(number);
    use->old.attributes->release(use->old.attributes->createInt(values, count, 1));
}

/* Tells the caller the text that it reads after its end. */
static void readOldText(const Use* use) {
    OxAttributeStruct* name = use->old.iterators->getFullName(use->child);
    const char* text = use->old.attributes->getString(name, 0, 0);
    use->old.attributes->release(name);
    use->job->listener.onMessage(kOxLogInfo, text, use->job->listener.user);
}

static void keepLocation(const Use* use) {
    keptLocation = use->old.iterators->getFirstChild(use->child, false);
    use->old.iterators->retainIterator(keptLocation);
}

static void useKeptLocation(const Use* use) {
    use->old.attributes->release(use->old.iterators->getName(keptLocation));
}

/* ---- The listener ---------------------------------------------------------------------------- */

static void keepListener(const Use* use) {
    keptListener = use->job->listener;
}

static void callKeptListener(const Use* use) {
    (void)use;
    keptListener.onMessage(kOxLogInfo, "too late", keptListener.user);
}

static void* reportProgress(void* job) {
    const OxRenderListener_v1* listener = &((const OxRenderJob_v1*)job)->listener;
    listener->onProgress(0.5, "in two threads", listener->user);
    return NULL;
}

static void callListenerTwiceAtOnce(const Use* use) {
    pthread_t thread;
    OxRenderJob_v1 job = *use->job;
    if (pthread_create(&thread, NULL, reportProgress, &job) != 0) return;
    reportProgress(&job);
    pthread_join(thread, NULL);
}

/* ---- Version 4 ------------------------------------------------------------------------------- */

static void passNull(const Use* use) {
    OxErrorStruct* error = NULL;
    use->scenes->getFirstChild(NULL, &error);
    use->values->releaseError(error);
}

static void leakChild(const Use* use) {
    use->scenes->getChild(use->child, 0, NULL);
}

static void leakError(const Use* use) {
    OxErrorStruct* error = NULL;
    use->scenes->openScene("/no/such/scene.json", &error);
}

static void passOldErrorText(const Use* use) {
    OxErrorStruct* error = NULL;
    OxErrorFacts facts;
    use->scenes->openScene("/no/such/scene.json", &error);
    use->values->getErrorFacts(error, &facts);
    use->values->releaseError(error);
    use->scenes->openScene(facts.file, NULL);
}

static void passOldSamples(const Use* use) {
    OxSamples samples;
    OxAttributeStruct* number = use->scenes->getAttribute(use->child, "number", NULL);
    use->values->getSamples(number, &samples, NULL);
    use->values->release(number);
    use->old.attributes->release(use->old.attributes->createFloat(samples.times, 1, 1));
}

/* The first location that is visited is a handle of the plug-in's own. */
static int32_t keepVisited(OxVisit* visit, void* user) {
    if (visit->depth == 0) return kOxVisitGoOn;
    *(OxSgIteratorStruct**)user = visit->location;
    return kOxVisitStop;
}

static void useVisitedLater(const Use* use) {
    OxSgIteratorStruct* visited = NULL;
    use->scenes->visit(use->child, NULL, keepVisited, &visited, NULL);
    use->scenes->getName(visited, NULL);
}

static int32_t releaseVisited(OxVisit* visit, void* user) {
    if (visit->depth == 0) return kOxVisitGoOn;
    ((const Use*)user)->scenes->releaseIterator(visit->location);
    return kOxVisitStop;
}

static void releaseLent(const Use* use) {
    use->scenes->visit(use->child, NULL, releaseVisited, (void*)(uintptr_t)use, NULL);
}

/* ---- Without a fault ------------------------------------------------------------------------- */

static int32_t readVisited(OxVisit* visit, void* user) {
    const Use* use = user;
    OxAttributeStruct* number = use->scenes->getAttribute(visit->location, "number", NULL);
    int64_t count = 0;
    use->old.attributes->getIntSample(number, 0, &count);
    use->old.attributes->release(number);
    use->scenes->getFullName(visit->location, NULL);
    use->scenes->retainIterator(visit->location);
    use->scenes->releaseIterator(visit->location);
    return kOxVisitGoOn;
}

/* Walks all children of the location in version 3, and lets version 4 release every other one. */
static void walkOldWay(const Use* use, OxSgIteratorStruct* parent) {
    OxSgIteratorStruct* child = use->old.iterators->getFirstChild(parent, false);
    int isOdd = 0;
    use->old.iterators->retainIterator(child);
    while (child) {
        OxAttributeStruct* name = use->old.iterators->getName(child);
        const char* text = use->old.attributes->getString(name, 0, 0);
        if (use->scenes)
            use->scenes->releaseIterator(use->scenes->getChildByName(parent, text, NULL));
        use->old.attributes->release(name);
        OxSgIteratorStruct* next = use->old.iterators->getNextSibling(child, false);
        use->old.iterators->retainIterator(next);
        if (isOdd && use->scenes)
            use->scenes->releaseIterator(child);
        else
            use->old.iterators->releaseIterator(child);
        isOdd = !isOdd;
        child = next;
    }
}

static void* walkInThread(void* user) {
    const Use* use = user;
    for (int i = 0; i < 20; ++i)
        walkOldWay(use, use->child);
    return NULL;
}

static void walkSoundly(const Use* use) {
    OxVisitOptions options = {8, 0, NULL, NULL};
    pthread_t threads[8];
    Use copy = *use;
    for (int i = 0; i < 8; ++i)
        pthread_create(&threads[i], NULL, walkInThread, &copy);
    for (int i = 0; i < 8; ++i)
        pthread_join(threads[i], NULL);
    if (use->scenes) use->scenes->visit(use->child, &options, readVisited, &copy, NULL);
    use->job->listener.onProgress(1, "walked", use->job->listener.user);
}

/* ---- The suite of version 1 -------------------------------------------------------------------
 */

static const struct Fault {
    const char* name;
    void (*commit)(const Use* use);
} kFaults[] = {
    {"use after release", useAfterRelease},
    {"release twice", releaseTwice},
    {"leak an attribute", leakAttribute},
    {"leak a location", leakLocation},
    {"release what was not retained", releaseUnretained},
    {"forget what was not retained", forgetUnretained},
    {"pass the wrong kind", passWrongKind},
    {"pass a foreign handle", passForeign},
    {"pass an old text", passOldText},
    {"pass old values", passOldValues},
    {"read an old text", readOldText},
    {"keep a location", keepLocation},
    {"use the kept location", useKeptLocation},
    {"keep the listener", keepListener},
    {"call the kept listener", callKeptListener},
    {"call the listener twice at once", callListenerTwiceAtOnce},
    {"pass null", passNull},
    {"leak a child", leakChild},
    {"leak an error", leakError},
    {"pass an old text of an error", passOldErrorText},
    {"pass old samples", passOldSamples},
    {"use what was visited", useVisitedLater},
    {"release what was lent", releaseLent},
    {"nothing", walkSoundly},
};

static int render(const OxRenderJob_v1* job) {
    const size_t length = strcspn(job->picture, ".");
    Use use;
    use.job = job;
    use.old = getSuites();
    use.scenes = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
    use.values = host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
    use.child = use.old.iterators->getFirstChild(job->root, false);
    use.old.iterators->retainIterator(use.child);
    for (size_t i = 0; i < sizeof(kFaults) / sizeof(kFaults[0]); ++i)
        if (strlen(kFaults[i].name) == length &&
            strncmp(kFaults[i].name, job->picture, length) == 0)
            kFaults[i].commit(&use);
    use.old.iterators->releaseIterator(use.child);
    return kOxRenderDone;
}

static const void* getSuite(void) {
    static const OxRendererPluginSuite_v1 suite = {render, NULL};
    return &suite;
}

/* ---- The suite of version 2, whose renders are over when they have started --------------------
 */

struct OxRenderStruct {
    int isFailing;
    OxSgIteratorStruct* root;  /* retained, or null */
    OxSgIteratorStruct* child; /* kept since waitForEnd, or null */
};

static const OxScenegraphIteratorHostSuite_v4* getScenes(void) {
    return host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
}

static OxRenderStruct* start(const OxRenderJob_v2* job, OxErrorStruct** error) {
    OxRenderStruct* made = malloc(sizeof(OxRenderStruct));
    OxRenderJob_v1 old = {0};
    old.root = job->root;
    old.picture = job->picture;
    old.listener.onProgress = job->listener.onProgress;
    old.listener.onMessage = job->listener.onMessage;
    old.listener.user = job->listener.user;
    if (error) *error = NULL;
    if (made) {
        made->isFailing = strcmp(job->picture, "fail") == 0;
        made->child = NULL;
        made->root = strcmp(job->picture, "keep the root") == 0 ? job->root : NULL;
        getScenes()->retainIterator(made->root);
    }
    render(&old);
    return made;
}

static void release(OxRenderStruct* taken) {
    getScenes()->releaseIterator(taken->child);
    getScenes()->releaseIterator(taken->root);
    free(taken);
}

/* The work of a thread of the render. */
static void* keepChild(void* taken) {
    OxRenderStruct* render = taken;
    render->child = getScenes()->getFirstChild(render->root, NULL);
    return NULL;
}

static int32_t waitForEnd(OxRenderStruct* taken, double seconds, OxErrorStruct** error) {
    const OxAttributeSuite_v4* values = host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
    const OxErrorFacts facts = {kOxErrorUnknown, "the paint has dried up", "", "", "", "", ""};
    pthread_t thread;
    (void)seconds;
    if (taken->root && pthread_create(&thread, NULL, keepChild, taken) == 0)
        pthread_join(thread, NULL);
    if (error) *error = taken->isFailing ? values->createError(&facts) : NULL;
    return taken->isFailing ? kOxRenderFailed : kOxRenderDone;
}

static const void* getSuite2(void) {
    static const OxRendererPluginSuite_v2 suite = {
        .size = sizeof(OxRendererPluginSuite_v2),
        .version = 2,
        .start = start,
        .release = release,
        .wait = waitForEnd,
    };
    return &suite;
}

/* ---- The plug-ins ---------------------------------------------------------------------------- */

static const OxPluginRecord_v1 kRecords[] = {
    {OX_PLUGIN_RECORD_VERSION, "faulty", OX_RENDERER_API, OX_RENDERER_API_VERSION, 1, 0, getSuite,
     setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "faulty", OX_RENDERER_API, OX_RENDERER_API_VERSION_2, 1, 0,
     getSuite2, setHost, NULL}};

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index < 2 ? &kRecords[index] : NULL;
}
