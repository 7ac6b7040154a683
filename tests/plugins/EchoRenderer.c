/* A renderer that draws nothing: it writes what it was asked for into the picture, as text. The
   environment variable TELLAR_TEST_ECHO tells what it does instead or besides: any of the words
   that are looked for below. */

#define _POSIX_C_SOURCE 200809L /* nanosleep */

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <OxTellarProducers/OxRendererPluginSuite.h>

#include "ChecksPlugin.h"

static int isWanted(const char* word) {
    const char* words = getenv("TELLAR_TEST_ECHO");
    return words && strstr(words, word) != NULL;
}

/* ---- What it was asked for ------------------------------------------------------------------- */

/* Takes the reference of the attribute. */
static void writeText(const Suites* suites, FILE* file, const char* name,
                      OxAttributeStruct* taken) {
    const char* text = suites->attributes->getString(taken, 0.0f, 0);
    fprintf(file, "%s %s\n", name, text ? text : "none");
    suites->attributes->release(taken);
}

static void writeNumbers(const Suites* suites, FILE* file, OxSgIteratorStruct* root,
                         const char* name) {
    const OxAttributeSuite_v1* attributes = suites->attributes;
    OxAttributeStruct* value = suites->iterators->getAttribute(root, name);
    int64_t intCount = 0;
    int64_t floatCount = 0;
    const int32_t* ints = attributes->getIntSample(value, 0.0f, &intCount);
    const float* floats = attributes->getFloatSample(value, 0.0f, &floatCount);
    int64_t doubleCount = 0;
    const double* doubles = attributes->getDoubleSample(value, 0.0f, &doubleCount);
    fputs(name, file);
    for (int64_t i = 0; ints && i < intCount; ++i)
        fprintf(file, " %" PRId32, ints[i]);
    for (int64_t i = 0; floats && i < floatCount; ++i)
        fprintf(file, " %g", (double)floats[i]);
    for (int64_t i = 0; doubles && i < doubleCount; ++i)
        fprintf(file, " %g", doubles[i]);
    fputs(ints || floats || doubles ? "\n" : " none\n", file);
    attributes->release(value);
}

/* The lens and the place of the camera, and settings of this renderer. */
static void writeView(const Suites* suites, FILE* file, OxSgIteratorStruct* root) {
    const OxRenderOutputUtilsHostSuite_v3* utils = suites->utils;
    OxAttributeStruct* path = utils->getCameraPath(root);
    CameraInfoStruct* camera =
        utils->getCameraInfo(root, suites->attributes->getString(path, 0.0f, 0));
    suites->attributes->release(path);
    fprintf(file, "fov %.9g\nclip %.9g %.9g\nwindow %.9g %.9g %.9g %.9g\ncameraToWorld",
            (double)utils->getCameraFov(camera), (double)utils->getCameraNear(camera),
            (double)utils->getCameraFar(camera), (double)utils->getCameraLeft(camera),
            (double)utils->getCameraRight(camera), (double)utils->getCameraBottom(camera),
            (double)utils->getCameraTop(camera));
    for (int i = 0; i < 16; ++i)
        fprintf(file, " %.17g", utils->getCameraXform(camera)[i]);
    fputs("\n", file);
    utils->releaseCameraInfo(camera);
    writeNumbers(suites, file, root, "renderSettings.echo.depth");
    writeNumbers(suites, file, root, "renderSettings.echo.exposure");
    writeNumbers(suites, file, root, "renderSettings.echo.maxDepth");
}

static void writeJob(const OxRenderJob_v1* job, FILE* file) {
    const Suites suites = getSuites();
    int width = 0;
    int height = 0;
    fprintf(file, "frame %g\nsamples %" PRId32 "\nthreads %" PRId32 "\n", (double)job->frame,
            job->samples, job->threads);
    writeText(&suites, file, "camera", suites.utils->getCameraPath(job->root));
    writeText(&suites, file, "resolution",
              suites.utils->getRenderResolution(job->root, &width, &height));
    fprintf(file, "size %d %d\n", width, height);
    writeNumbers(&suites, file, job->root, "renderSettings.tileRender");
    writeNumbers(&suites, file, job->root, "renderSettings.cropWindow");
    if (isWanted("view")) writeView(&suites, file, job->root);
}

/* ---- What it says ---------------------------------------------------------------------------- */

static void say(const OxRenderListener_v1* listener, int level, const char* message) {
    listener->onMessage(level, message, listener->user);
}

static int isCancelled(const OxRenderListener_v1* listener) {
    return listener->isCancelled(listener->user);
}

/* The status of a render that writes the picture so far when it is asked to. */
static int stoppedStatus(const OxRenderListener_v1* listener) {
    if (isWanted("too late")) return kOxRenderDone;
    return isWanted("so far") && isCancelled(listener) == kOxRenderFinish ? kOxRenderStopped
                                                                          : kOxRenderCancelled;
}

static void waitForCancel(const OxRenderListener_v1* listener) {
    const struct timespec moment = {0, 1000000};
    say(listener, kOxLogInfo, "waiting");
    while (!isCancelled(listener))
        nanosleep(&moment, NULL);
    if (!isWanted("stubborn")) return;
    say(listener, kOxLogInfo, "not yet");
    for (;;)
        nanosleep(&moment, NULL);
}

/* kOxRenderDone or kOxRenderStopped when there is a picture to be written. */
static int act(const OxRenderListener_v1* listener) {
    if (isWanted("talk")) {
        say(listener, kOxLogDebug, "nobody sees this");
        say(listener, kOxLogInfo, "the sun is up");
        say(listener, kOxLogWarn, "a texture\nis missing");
        say(listener, kOxLogError, "two things are wrong");
        say(listener, kOxLogError, NULL);
        say(listener, kOxLogWarn, "the last word");
    }
    if (isWanted("log")) host->log("EchoRenderer", kOxLogError, "a location cannot be read", "", 0);
    if (isWanted("progress")) listener->onProgress(0.45, "drawing\x1b[2J", listener->user);
    if (isWanted("wait")) {
        waitForCancel(listener);
        return stoppedStatus(listener);
    }
    if (isWanted("fail")) say(listener, kOxLogError, "the paint has dried up");
    if (isWanted("fail") || isWanted("sulk")) return kOxRenderFailed;
    return isWanted("cancel") ? kOxRenderCancelled : kOxRenderDone;
}

/* ---- The suite ------------------------------------------------------------------------------- */

static int render(const OxRenderJob_v1* job) {
    const int status = act(&job->listener);
    const int isDrawn = status == kOxRenderDone || status == kOxRenderStopped;
    FILE* file = isDrawn ? fopen(job->picture, "wb") : NULL;
    if (!file) return isDrawn ? kOxRenderFailed : status;
    writeJob(job, file);
    fclose(file);
    job->listener.onPicture(job->picture, job->listener.user);
    if (isWanted("twice")) job->listener.onPicture("the depths.txt", job->listener.user);
    return status;
}

static int stitch(const char* const* tiles, int64_t count, const char* picture,
                  const OxRenderListener_v1* listener) {
    const int status = act(listener);
    FILE* file = status == kOxRenderDone ? fopen(picture, "wb") : NULL;
    if (!file) return status == kOxRenderDone ? kOxRenderFailed : status;
    for (int64_t i = 0; i < count; ++i)
        fprintf(file, "%s\n", tiles[i]);
    fclose(file);
    listener->onPicture(picture, listener->user);
    return kOxRenderDone;
}

static const void* getEcho(void) {
    static const OxRendererPluginSuite_v1 suite = {render, stitch};
    return &suite;
}

static const void* getNothing(void) {
    return NULL;
}

static const OxPluginRecord_v1 kRecords[] = {
    {OX_PLUGIN_RECORD_VERSION, "echo", OX_RENDERER_API, OX_RENDERER_API_VERSION, 1, 0, getEcho,
     setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "hollow", OX_RENDERER_API, OX_RENDERER_API_VERSION, 1, 0, getNothing,
     setHost, NULL}};

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index < 2 ? &kRecords[index] : NULL;
}
