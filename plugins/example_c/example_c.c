/* A renderer in plain C99, to start one of your own from. Where a real renderer would draw, it
   writes a text: the camera, the resolution, and a line for every location of the scene. The rest
   is what any renderer does: it meets its host, reads the scene through suites, tells how far it
   is, stops when it is asked to, and leaves no half-written file behind. It is explained step by
   step in docs/writing-a-renderer.md.

       cc -std=c99 -shared -fPIC -I <prefix>/include example_c.c -o example_c.so
       OX_PLUGIN_PATH=$PWD tellar render scene.json -o scene.txt --renderer example */

#include <errno.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

/* ---- The render at hand ---------------------------------------------------------------------- */

/* All that the functions below share. It lives on the stack of renderPicture(): a library is never
   unloaded, so what one render left in a static the next one would find. */
typedef struct Render {
    const OxRenderJob_v1* job;
    const OxScenegraphIteratorHostSuite_v3* iterators; /* walks the scene */
    const OxRenderOutputUtilsHostSuite_v3* utils;      /* cameras, resolution, materials, paths */
    const OxAttributeSuite_v1* attributes;             /* reads the values */
    const char* path;
    FILE* file;
    int64_t locationCount; /* in the whole scene */
    int64_t doneCount;
} Render;

/* ---- Speaking to the caller ------------------------------------------------------------------ */

/* Tells what went wrong. The status kOxRenderFailed always has such a message before it. */
static int fail(const Render* render, const char* format, ...) {
    const OxRenderListener_v1* listener = &render->job->listener;
    char message[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    /* Each function of a listener may be null. */
    if (listener->onMessage) listener->onMessage(kOxLogError, message, listener->user);
    return kOxRenderFailed;
}

static int failToWrite(const Render* render) {
    return fail(render, "%s: cannot be written: %s", render->path, strerror(errno));
}

static int isCancelled(const Render* render) {
    const OxRenderListener_v1* listener = &render->job->listener;
    return listener->isCancelled && listener->isCancelled(listener->user);
}

static void tellProgress(const Render* render) {
    const OxRenderListener_v1* listener = &render->job->listener;
    const double fraction = (double)render->doneCount / (double)render->locationCount;
    if (listener->onProgress) listener->onProgress(fraction, "writing", listener->user);
}

/* ---- Reading attributes ---------------------------------------------------------------------- */

/* Attributes come with a reference that is ours to release, and a text lives as long as that. So
   each of these takes an attribute over, uses it, and lets go of it. Null is as good as any other
   attribute to every suite: what is missing has no text and no values. */

static void printText(const Render* render, OxAttributeStruct* taken, const char* otherwise) {
    const char* text = render->attributes->getString(taken, 0.0f, 0);
    fputs(text && *text ? text : otherwise, render->file);
    render->attributes->release(taken);
}

static int isText(const Render* render, OxAttributeStruct* taken, const char* wanted) {
    const char* text = render->attributes->getString(taken, 0.0f, 0);
    const int isEqual = text && strcmp(text, wanted) == 0;
    render->attributes->release(taken);
    return isEqual;
}

static int64_t countTuples(const Render* render, OxAttributeStruct* taken) {
    const int64_t tupleSize = render->attributes->getTupleSize(taken);
    const int64_t values = render->attributes->getNumberOfValues(taken);
    render->attributes->release(taken);
    return tupleSize > 0 ? values / tupleSize : 0;
}

/* ---- What is written ------------------------------------------------------------------------- */

static int writeCamera(const Render* render) {
    OxAttributeStruct* path = render->utils->getCameraPath(render->job->root);
    const char* text = render->attributes->getString(path, 0.0f, 0);
    CameraInfoStruct* camera = render->utils->getCameraInfo(render->job->root, text);
    int status = kOxRenderDone;
    if (camera)
        fprintf(render->file, "camera %s, %s\n", text,
                render->utils->getCameraOrthographic(camera) ? "orthographic" : "perspective");
    else
        status = fail(render, "there is no camera \"%s\"", text ? text : "");
    render->utils->releaseCameraInfo(camera);
    render->attributes->release(path);
    return status;
}

static int writeResolution(const Render* render) {
    int width = 0, height = 0;
    OxAttributeStruct* name =
        render->utils->getRenderResolution(render->job->root, &width, &height);
    if (!name) return fail(render, "the resolution of the scene is not known");
    fputs("resolution ", render->file);
    printText(render, name, "");
    fprintf(render->file, ", %d x %d\n", width, height);
    return kOxRenderDone;
}

static void writeMesh(const Render* render, OxSgIteratorStruct* location) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    const int64_t points =
        countTuples(render, iterators->getAttribute(location, "geometry.point.P"));
    /* Where each face starts among all corners, and where the last one ends. */
    const int64_t starts =
        countTuples(render, iterators->getAttribute(location, "geometry.poly.startIndex"));
    fprintf(render->file, ", points %lld, faces %lld", (long long)points,
            (long long)(starts > 0 ? starts - 1 : 0));
}

/* The type of the node that makes the surface, from the materials of the location and of those
   above it. */
static void writeSurface(const Render* render, OxSgIteratorStruct* location) {
    static const char* const kTerminals[] = {"surface"};
    const OxRenderOutputUtilsHostSuite_v3* utils = render->utils;
    const OxAttributeSuite_v1* attributes = render->attributes;
    OxAttributeStruct* material = utils->getFlattenedMaterialAttr(location, kTerminals, 1);
    fputs(", surface ", render->file);
    if (isText(render, attributes->getChildByName(material, "style"), "network")) {
        OxAttributeStruct* terminal = attributes->getChildByName(material, "terminals.surface");
        const char* name = attributes->getString(terminal, 0.0f, 0);
        OxShadingNodeMapStruct* nodes = utils->getShadingNetworkNodesOfMaterial(material);
        OxShadingStruct* node = name ? utils->findShadingNode(nodes, name) : NULL;
        /* Borrowed, so nothing to release; the node itself is ours. */
        fputs(node ? utils->getShadingNodeType(node) : "none", render->file);
        utils->releaseShadingNode(node);
        utils->destroyShadingNodeMap(nodes);
        attributes->release(terminal);
    } else {
        printText(render, attributes->getChildByName(material, "surfaceShader"), "none");
    }
    attributes->release(material);
}

static int writeLocation(Render* render, OxSgIteratorStruct* location) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    printText(render, iterators->getFullName(location), "?");
    fputs(" ", render->file);
    printText(render, iterators->getAttribute(location, "type"), "untyped");
    if (isText(render, iterators->getAttribute(location, "type"), "polymesh")) {
        writeMesh(render, location);
        writeSurface(render, location);
    }
    fputs("\n", render->file);
    ++render->doneCount;
    tellProgress(render);
    return ferror(render->file) ? failToWrite(render) : kOxRenderDone;
}

static int countLocation(Render* render, OxSgIteratorStruct* location) {
    (void)location;
    ++render->locationCount;
    return kOxRenderDone;
}

/* ---- Walking the scene ----------------------------------------------------------------------- */

/* Handles come without a reference: the first thing to do with one is to retain it. */
static OxSgIteratorStruct* retained(const Render* render, OxSgIteratorStruct* iterator) {
    render->iterators->retainIterator(iterator);
    return iterator;
}

/* The location after this one: its first child, or its next sibling, or that of the nearest
   location above that has one. Null after the last. Takes the reference over. No recursion, for a
   scene may be deeper than the stack of a thread. */
static OxSgIteratorStruct* nextLocation(const Render* render, OxSgIteratorStruct* taken) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    OxSgIteratorStruct* next = retained(render, iterators->getFirstChild(taken, false));
    while (taken && !next) {
        next = retained(render, iterators->getNextSibling(taken, false));
        OxSgIteratorStruct* parent = retained(render, iterators->getParent(taken));
        iterators->releaseIterator(taken);
        taken = parent;
    }
    iterators->releaseIterator(taken);
    return next;
}

/* Visits every location until one gives another status than kOxRenderDone. */
static int walk(Render* render, int (*visit)(Render* render, OxSgIteratorStruct* location)) {
    OxSgIteratorStruct* location = retained(render, render->job->root);
    int status = kOxRenderDone;
    while (location && status == kOxRenderDone) {
        status = isCancelled(render) ? kOxRenderCancelled : visit(render, location);
        location = nextLocation(render, location);
    }
    render->iterators->releaseIterator(location);
    return status;
}

/* ---- Writing the file ------------------------------------------------------------------------ */

static int writeAll(Render* render) {
    int status = writeCamera(render); /* what may fail goes before what takes long */
    if (status == kOxRenderDone) status = writeResolution(render);
    if (status == kOxRenderDone) status = walk(render, countLocation);
    if (status == kOxRenderDone) status = walk(render, writeLocation);
    return status;
}

/* A file beside the picture is renamed over it when it is complete. So whoever looks sees a whole
   picture or none, and what was there before stays until then. */
static int writeFile(Render* render) {
    const size_t partSize = strlen(render->path) + sizeof(".part");
    char* partPath = malloc(partSize);
    int status = kOxRenderFailed;
    if (!partPath) return fail(render, "there is no memory left");
    snprintf(partPath, partSize, "%s.part", render->path);
    render->file = fopen(partPath, "wb");
    if (render->file) {
        status = writeAll(render);
        const int isClosed = fclose(render->file) == 0; /* a full disk may show up only now */
        if (status == kOxRenderDone && (!isClosed || rename(partPath, render->path) != 0))
            status = failToWrite(render);
        if (status != kOxRenderDone) remove(partPath);
    } else {
        status = failToWrite(render);
    }
    free(partPath);
    return status;
}

/* ---- What the library exports ---------------------------------------------------------------- */

static const OxPluginHost* host; /* given before anything is asked for */

static int renderPicture(const OxRenderJob_v1* job) {
    Render render = {0};
    render.job = job;
    if (!host) return fail(&render, "there is no plug-in host");
    render.iterators = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    render.utils = host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
    render.attributes = host->getSuite("AttributeHost", 1);
    if (!render.iterators || !render.utils || !render.attributes)
        return fail(&render, "the host does not have the suites to read a scene by");
    render.utils->emptyFlattenedMaterialCache(); /* it may still have those of another scene */

    /* The picture's path, or that of the tile that the scene's render settings ask for. */
    OxAttributeStruct* path = render.utils->getTilePath(job->root, job->picture);
    render.path = render.attributes->getString(path, 0.0f, 0);
    const int status =
        render.path ? writeFile(&render) : fail(&render, "there is no path for the picture");
    if (status == kOxRenderDone && job->listener.onPicture)
        job->listener.onPicture(render.path, job->listener.user);
    render.attributes->release(path);
    return status;
}

static int setHost(OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

static const void* getSuite(void) {
    static const OxRendererPluginSuite_v1 suite = {renderPicture, NULL}; /* no stitch */
    return &suite;
}

static const OxPluginRecord_v1 kRecord = {
    .recordVersion = OX_PLUGIN_RECORD_VERSION,
    .name = "example", /* what --renderer takes */
    .apiName = OX_RENDERER_API,
    .apiVersion = OX_RENDERER_API_VERSION,
    .majorVersion = 1, /* its own version, for people */
    .getSuite = getSuite,
    .setHost = setHost,
};

OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void) {
    return 1;
}

OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : NULL;
}
