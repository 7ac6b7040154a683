/* A renderer plug-in in C99, made to be copied. Its picture is a text: the camera, the resolution
   and a line for every location of the scene. The rest is complete: it gets suites from its host,
   reads the scene through them, tells errors with their reasons, keeps instances, reports progress,
   stops when it is asked to, and never leaves a half-written file. docs/writing-a-renderer.md
   explains it step by step.

       cc -std=c99 -shared -fPIC -I <prefix>/include example_c.c -o example_c.so
       OX_PLUGIN_PATH=$PWD tellar render scene.json -o scene.txt --renderer example */

#include <errno.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/OxPluginApi.h>

/* ---- State of a render ----------------------------------------------------------------------- */

/* The state of one render, which the functions below share. It is a local variable of
   RenderPicture() because a plug-in is never unloaded: a static variable would keep its value for
   the next render. */
typedef struct Render {
    const OxRenderJob_v1* job;
    const OxScenegraphIteratorHostSuite_v4* scenes; /* walking the scene */
    const OxRenderOutputUtilsHostSuite_v4* utils;   /* matrices, cameras, materials, paths */
    const OxAttributeSuite_v4* values;              /* attribute values and errors */
    const char* path;
    FILE* file;
    int64_t locationCount; /* of the scene; 0 when it is not known */
    int64_t writtenCount;
} Render;

/* ---- Messages and progress ------------------------------------------------------------------- */

static int Tell(const Render* render, int level, const char* format, ...) {
    const OxRenderListener_v1* listener = &render->job->listener;
    char message[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    /* Each function of a listener may be null. */
    if (listener->onMessage) listener->onMessage(level, message, listener->user);
    return kOxRenderFailed;
}

/* Reports an error of a suite, and releases it. A render must tell a reason before it returns
   kOxRenderFailed. Null means that there is no such thing. */
static int Fail(const Render* render, const char* what, OxErrorStruct* error) {
    OxErrorFacts facts;
    render->values->getErrorFacts(error, &facts);
    Tell(render, kOxLogError, "%s: %s", what, error ? facts.text : "there is none");
    render->values->releaseError(error);
    return kOxRenderFailed;
}

static int32_t IsCancelled(void* user) {
    const OxRenderListener_v1* listener = &((const Render*)user)->job->listener;
    return listener->isCancelled && listener->isCancelled(listener->user);
}

/* ---- Camera and resolution ------------------------------------------------------------------- */

static int WriteCamera(const Render* render) {
    OxErrorStruct* error;
    OxAttributeStruct* path = render->utils->getCameraPath(render->job->root, &error);
    if (!path) return Fail(render, "the path of the camera", error);
    const char* text = render->values->getString(path, 0.0f, 0, NULL, NULL);
    CameraInfoStruct* camera = render->utils->getCameraInfo(render->job->root, text, &error);
    int status = kOxRenderDone;
    if (camera)
        fprintf(render->file, "camera %s, %s\n", text,
                render->utils->getCameraOrthographic(camera) ? "orthographic" : "perspective");
    else
        status = Fail(render, text, error);
    render->utils->releaseCameraInfo(camera);
    render->values->release(path);
    return status;
}

static int WriteResolution(const Render* render) {
    int32_t width = 0, height = 0;
    OxErrorStruct* error;
    OxAttributeStruct* name =
        render->utils->getRenderResolution(render->job->root, &width, &height, &error);
    if (!name) return Fail(render, "the resolution", error);
    fprintf(render->file, "resolution %s, %d x %d\n",
            render->values->getString(name, 0.0f, 0, NULL, NULL), width, height);
    render->values->release(name);
    return kOxRenderDone;
}

/* ---- Meshes ---------------------------------------------------------------------------------- */

/* Writes the number of points, and the box around them in the world. Suites return attributes with
   a reference that the caller owns. Null, and attributes of other types, have no values. */
static void WritePoints(const Render* render, OxSgIteratorStruct* location) {
    OxAttributeStruct* value = render->scenes->getAttribute(location, "geometry.point.P", NULL);
    double m[16], low[3] = {0, 0, 0}, high[3] = {0, 0, 0};
    OxSamples points;
    if (value && render->values->getSamples(value, &points, NULL) &&
        points.type == kAttributeTypeFloat && points.tupleSize == 3 &&
        render->utils->getWorldMatrix(location, 0.0f, m, NULL)) {
        const float* p = points.values;
        for (int64_t i = 0; i < points.valueCount; i += 3)
            for (int axis = 0; axis < 3; ++axis) {
                const double x =
                    p[i] * m[axis] + p[i + 1] * m[4 + axis] + p[i + 2] * m[8 + axis] + m[12 + axis];
                if (i == 0 || x < low[axis]) low[axis] = x;
                if (i == 0 || x > high[axis]) high[axis] = x;
            }
        fprintf(render->file, ", points %lld from %g %g %g to %g %g %g",
                (long long)(points.valueCount / 3), low[0], low[1], low[2], high[0], high[1],
                high[2]);
    }
    render->values->release(value);
}

/* Writes the type of the surface node in the material of the location, which includes the materials
   that it inherits. */
static void WriteSurface(const Render* render, OxSgIteratorStruct* location) {
    static const char* const kTerminals[] = {"surface"};
    const OxRenderOutputUtilsHostSuite_v4* utils = render->utils;
    const OxAttributeSuite_v4* values = render->values;
    OxAttributeStruct* material = utils->getFlattenedMaterialAttr(location, kTerminals, 1, NULL);
    if (!material) return;
    OxAttributeStruct* terminal = values->getChildByName(material, "terminals.surface", NULL);
    OxAttributeStruct* shader = values->getChildByName(material, "surfaceShader", NULL);
    OxShadingNodeMapStruct* nodes = utils->getShadingNetworkNodesOfMaterial(material, NULL);
    const char* name = terminal ? values->getString(terminal, 0.0f, 0, NULL, NULL) : NULL;
    OxShadingStruct* node = name ? utils->findShadingNode(nodes, name, NULL) : NULL;
    const char* type = shader ? values->getString(shader, 0.0f, 0, NULL, NULL) : NULL;
    if (node) type = utils->getShadingNodeType(node);            /* otherwise it is not a network */
    fprintf(render->file, ", surface %s", type ? type : "none"); /* the type is borrowed */
    utils->releaseShadingNode(node);
    utils->destroyShadingNodeMap(nodes);
    values->release(shader);
    values->release(terminal);
    values->release(material);
}

static void WriteMesh(const Render* render, OxSgIteratorStruct* location) {
    /* The index of the first corner of each face, and the end of the last face. */
    OxAttributeStruct* starts =
        render->scenes->getAttribute(location, "geometry.poly.startIndex", NULL);
    const int64_t count = render->values->getNumberOfValues(starts);
    fprintf(render->file, ", faces %lld", (long long)(count > 0 ? count - 1 : 0));
    render->values->release(starts);
    WriteSurface(render, location);
    WritePoints(render, location);
}

/* ---- Locations ------------------------------------------------------------------------------- */

static int32_t WriteLocation(OxVisit* visit, void* user);

/* If the locations below repeat a few prototypes, writes their number and visits the prototypes
   alone: a renderer draws each prototype where the matrices of its instances put it. */
static int32_t WriteInstances(Render* render, OxSgIteratorStruct* location) {
    const OxScenegraphIteratorHostSuite_v4* scenes = render->scenes;
    OxInstancesStruct* instances = scenes->getInstances(location, NULL);
    if (!instances) return kOxVisitGoOn; /* as usual: nothing repeats */
    fprintf(render->file, ", instances %lld\n", (long long)scenes->getNumberOfInstances(instances));
    int32_t end = kOxVisitDone;
    for (int64_t i = 0; i < scenes->getNumberOfPrototypes(instances) && end == kOxVisitDone; ++i) {
        OxSgIteratorStruct* prototype = scenes->getPrototype(instances, i, NULL);
        end = scenes->visit(prototype, NULL, WriteLocation, render, NULL);
        scenes->releaseIterator(prototype);
    }
    scenes->releaseInstances(instances);
    return end == kOxVisitDone ? kOxVisitPrune : kOxVisitStop;
}

/* Writes one location; the host calls it for each. Everything in `visit` is borrowed. */
static int32_t WriteLocation(OxVisit* visit, void* user) {
    Render* render = user;
    const char* type = render->scenes->getType(visit->location, NULL);
    fprintf(render->file, "%s %s", render->scenes->getFullName(visit->location, NULL),
            *type ? type : "untyped");
    int32_t wish = kOxVisitGoOn;
    if (visit->error) { /* it cannot be cooked; its siblings can */
        OxErrorFacts facts;
        render->values->getErrorFacts(visit->error, &facts);
        fprintf(render->file, ", error");
        Tell(render, kOxLogWarn, "%s", facts.text);
    } else if (strcmp(type, "polymesh") == 0) {
        WriteMesh(render, visit->location);
    } else {
        wish = WriteInstances(render, visit->location);
    }
    if (wish == kOxVisitGoOn) fputs("\n", render->file);
    const OxRenderListener_v1* listener = &render->job->listener;
    const double part = (double)++render->writtenCount / (double)render->locationCount;
    if (listener->onProgress && part <= 1) listener->onProgress(part, "writing", listener->user);
    return IsCancelled(render) || ferror(render->file) ? kOxVisitStop : wish;
}

static int WriteLocations(Render* render) {
    OxSubtree facts = {0};
    OxErrorStruct* error;
    render->scenes->getSubtree(render->job->root, &facts, NULL);
    if (facts.known & kOxSubtreeLocations) render->locationCount = facts.locations;
    /* One thread, parents before children; the options have more threads, and a call of
       isCancelled. */
    if (render->scenes->visit(render->job->root, NULL, WriteLocation, render, &error) ==
        kOxVisitFailed)
        return Fail(render, "the scene", error);
    if (IsCancelled(render)) return kOxRenderCancelled;
    return ferror(render->file) ? kOxRenderFailed : kOxRenderDone;
}

/* ---- Writing the file ------------------------------------------------------------------------ */

static int FailToWrite(const Render* render) {
    return Tell(render, kOxLogError, "%s: cannot be written: %s", render->path, strerror(errno));
}

/* Writes to a file beside the picture and renames it when it is complete. Other programs see the
   complete picture or the old one, never a part. */
static int WriteFile(Render* render) {
    char part[4096];
    snprintf(part, sizeof(part), "%s.part", render->path);
    render->file = fopen(part, "wb");
    if (!render->file) return FailToWrite(render);
    int status = WriteCamera(render); /* first, so that a wrong path fails quickly */
    if (status == kOxRenderDone) status = WriteResolution(render);
    if (status == kOxRenderDone) status = WriteLocations(render);
    const int isWritten = !ferror(render->file);
    const int isClosed = fclose(render->file) == 0; /* may be the first to report a full disk */
    if (!isWritten || (status == kOxRenderDone && (!isClosed || rename(part, render->path) != 0)))
        status = FailToWrite(render);
    if (status != kOxRenderDone) remove(part);
    return status;
}

/* ---- Entry points ---------------------------------------------------------------------------- */

static const OxPluginHost* host; /* set before the first render */

static int RenderPicture(const OxRenderJob_v1* job) {
    Render render = {0};
    OxErrorStruct* error;
    render.job = job;
    if (!host) return Tell(&render, kOxLogError, "there is no plug-in host");
    render.scenes = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
    render.utils = host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 4);
    render.values = host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
    if (!render.scenes || !render.utils || !render.values)
        return Tell(&render, kOxLogError, "the host does not have version 4 of its suites");

    /* The path of the picture, or of the tile that the scene's render settings ask for. */
    OxAttributeStruct* path = render.utils->getTilePath(job->root, job->picture, &error);
    if (!path) return Fail(&render, "the path of the picture", error);
    render.path = render.values->getString(path, 0.0f, 0, NULL, NULL);
    const int status = WriteFile(&render);
    if (status == kOxRenderDone && job->listener.onPicture)
        job->listener.onPicture(render.path, job->listener.user);
    render.values->release(path);
    return status;
}

static int SetHost(OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

static const void* GetSuite(void) {
    static const OxRendererPluginSuite_v1 suite = {RenderPicture, NULL}; /* no stitching of tiles */
    return &suite;
}

static const OxPluginRecord_v1 kRecord = {
    .recordVersion = OX_PLUGIN_RECORD_VERSION,
    .name = "example", /* for the option --renderer */
    .apiName = OX_RENDERER_API,
    .apiVersion = OX_RENDERER_API_VERSION,
    .majorVersion = 1, /* of this plug-in */
    .getSuite = GetSuite,
    .setHost = SetHost,
};

OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void) {
    return 1;
}

OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : NULL;
}
