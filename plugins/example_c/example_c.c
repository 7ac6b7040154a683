/* A renderer plug-in in C99, made to be copied. Its picture is a text: the camera, the resolution
   and a line for every location of the scene. The rest is complete: it gets suites from its host,
   reads the scene through them, reports progress, stops when it is asked to, and never leaves a
   half-written file. docs/writing-a-renderer.md explains it step by step.

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

/* ---- State of a render ----------------------------------------------------------------------- */

/* The state of one render, which the functions below share. It is a local variable of
   RenderPicture() because a plug-in is never unloaded: a static variable would keep its value for
   the next render. */
typedef struct Render {
    const OxRenderJob_v1* job;
    const OxScenegraphIteratorHostSuite_v3* iterators; /* walking the scene */
    const OxRenderOutputUtilsHostSuite_v3* utils;      /* cameras, resolution, materials, paths */
    const OxAttributeSuite_v1* attributes;             /* attribute values */
    const char* path;
    FILE* file;
    int64_t locationCount; /* of the whole scene */
    int64_t writtenCount;
} Render;

/* ---- Messages and progress ------------------------------------------------------------------- */

/* Reports an error. A render must do so before it returns kOxRenderFailed. */
static int Fail(const Render* render, const char* format, ...) {
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

static int FailToWrite(const Render* render) {
    return Fail(render, "%s: cannot be written: %s", render->path, strerror(errno));
}

static int IsCancelled(const Render* render) {
    const OxRenderListener_v1* listener = &render->job->listener;
    return listener->isCancelled && listener->isCancelled(listener->user);
}

static void ReportProgress(const Render* render) {
    const OxRenderListener_v1* listener = &render->job->listener;
    const double fraction = (double)render->writtenCount / (double)render->locationCount;
    if (listener->onProgress) listener->onProgress(fraction, "writing", listener->user);
}

/* ---- Reading attributes ---------------------------------------------------------------------- */

/* A suite returns an attribute with a reference that the caller owns. Each of these functions takes
   over that reference and releases it at the end. Texts are valid until then. All entries of a
   suite accept null as an attribute without text and values. */

static void PrintText(const Render* render, OxAttributeStruct* taken, const char* otherwise) {
    const char* text = render->attributes->getString(taken, 0.0f, 0);
    fputs(text && *text ? text : otherwise, render->file);
    render->attributes->release(taken);
}

static int IsText(const Render* render, OxAttributeStruct* taken, const char* wanted) {
    const char* text = render->attributes->getString(taken, 0.0f, 0);
    const int isEqual = text && strcmp(text, wanted) == 0;
    render->attributes->release(taken);
    return isEqual;
}

static int64_t CountTuples(const Render* render, OxAttributeStruct* taken) {
    const int64_t tupleSize = render->attributes->getTupleSize(taken);
    const int64_t values = render->attributes->getNumberOfValues(taken);
    render->attributes->release(taken);
    return tupleSize > 0 ? values / tupleSize : 0;
}

/* ---- Lines of the picture -------------------------------------------------------------------- */

static int WriteCamera(const Render* render) {
    OxAttributeStruct* path = render->utils->getCameraPath(render->job->root);
    const char* text = render->attributes->getString(path, 0.0f, 0);
    CameraInfoStruct* camera = render->utils->getCameraInfo(render->job->root, text);
    int status = kOxRenderDone;
    if (camera)
        fprintf(render->file, "camera %s, %s\n", text,
                render->utils->getCameraOrthographic(camera) ? "orthographic" : "perspective");
    else
        status = Fail(render, "there is no camera \"%s\"", text ? text : "");
    render->utils->releaseCameraInfo(camera);
    render->attributes->release(path);
    return status;
}

static int WriteResolution(const Render* render) {
    int width = 0, height = 0;
    OxAttributeStruct* name =
        render->utils->getRenderResolution(render->job->root, &width, &height);
    if (!name) return Fail(render, "the resolution of the scene is not known");
    fputs("resolution ", render->file);
    PrintText(render, name, "");
    fprintf(render->file, ", %d x %d\n", width, height);
    return kOxRenderDone;
}

static void WriteMesh(const Render* render, OxSgIteratorStruct* location) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    const int64_t points =
        CountTuples(render, iterators->getAttribute(location, "geometry.point.P"));
    /* The index of the first corner of each face, and the end of the last face. */
    const int64_t starts =
        CountTuples(render, iterators->getAttribute(location, "geometry.poly.startIndex"));
    fprintf(render->file, ", points %lld, faces %lld", (long long)points,
            (long long)(starts > 0 ? starts - 1 : 0));
}

/* Writes the type of the surface node in the material of the location, which includes the materials
   that it inherits. */
static void WriteSurface(const Render* render, OxSgIteratorStruct* location) {
    static const char* const kTerminals[] = {"surface"};
    const OxRenderOutputUtilsHostSuite_v3* utils = render->utils;
    const OxAttributeSuite_v1* attributes = render->attributes;
    OxAttributeStruct* material = utils->getFlattenedMaterialAttr(location, kTerminals, 1);
    fputs(", surface ", render->file);
    if (IsText(render, attributes->getChildByName(material, "style"), "network")) {
        OxAttributeStruct* terminal = attributes->getChildByName(material, "terminals.surface");
        const char* name = attributes->getString(terminal, 0.0f, 0);
        OxShadingNodeMapStruct* nodes = utils->getShadingNetworkNodesOfMaterial(material);
        OxShadingStruct* node = name ? utils->findShadingNode(nodes, name) : NULL;
        /* The type is borrowed from the node; the node and the map are released below. */
        fputs(node ? utils->getShadingNodeType(node) : "none", render->file);
        utils->releaseShadingNode(node);
        utils->destroyShadingNodeMap(nodes);
        attributes->release(terminal);
    } else {
        PrintText(render, attributes->getChildByName(material, "surfaceShader"), "none");
    }
    attributes->release(material);
}

static int WriteLocation(Render* render, OxSgIteratorStruct* location) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    PrintText(render, iterators->getFullName(location), "?");
    fputs(" ", render->file);
    PrintText(render, iterators->getAttribute(location, "type"), "untyped");
    if (IsText(render, iterators->getAttribute(location, "type"), "polymesh")) {
        WriteMesh(render, location);
        WriteSurface(render, location);
    }
    fputs("\n", render->file);
    ++render->writtenCount;
    ReportProgress(render);
    return ferror(render->file) ? FailToWrite(render) : kOxRenderDone;
}

static int CountLocation(Render* render, OxSgIteratorStruct* location) {
    (void)location;
    ++render->locationCount;
    return kOxRenderDone;
}

/* ---- Walking the scene ----------------------------------------------------------------------- */

/* The suite returns locations without a reference, so they are retained first. */
static OxSgIteratorStruct* Retained(const Render* render, OxSgIteratorStruct* iterator) {
    render->iterators->retainIterator(iterator);
    return iterator;
}

/* Returns the next location in depth-first order: the first child, or else the next sibling of the
   location or of the nearest ancestor that has one. Null after the last location. Takes over the
   reference. There is no recursion, because a scene may be too deep for the stack of a thread. */
static OxSgIteratorStruct* NextLocation(const Render* render, OxSgIteratorStruct* taken) {
    const OxScenegraphIteratorHostSuite_v3* iterators = render->iterators;
    OxSgIteratorStruct* next = Retained(render, iterators->getFirstChild(taken, false));
    while (taken && !next) {
        next = Retained(render, iterators->getNextSibling(taken, false));
        OxSgIteratorStruct* parent = Retained(render, iterators->getParent(taken));
        iterators->releaseIterator(taken);
        taken = parent;
    }
    iterators->releaseIterator(taken);
    return next;
}

/* Visits all locations until `visit` returns something other than kOxRenderDone. */
static int Walk(Render* render, int (*visit)(Render* render, OxSgIteratorStruct* location)) {
    OxSgIteratorStruct* location = Retained(render, render->job->root);
    int status = kOxRenderDone;
    while (location && status == kOxRenderDone) {
        status = IsCancelled(render) ? kOxRenderCancelled : visit(render, location);
        location = NextLocation(render, location);
    }
    render->iterators->releaseIterator(location);
    return status;
}

/* ---- Writing the file ------------------------------------------------------------------------ */

static int WriteAll(Render* render) {
    int status = WriteCamera(render); /* first, so that a wrong path fails quickly */
    if (status == kOxRenderDone) status = WriteResolution(render);
    if (status == kOxRenderDone) status = Walk(render, CountLocation);
    if (status == kOxRenderDone) status = Walk(render, WriteLocation);
    return status;
}

/* Writes to a file beside the picture and renames it when it is complete. Other programs see the
   complete picture or the old one, never a part. */
static int WriteFile(Render* render) {
    const size_t partSize = strlen(render->path) + sizeof(".part");
    char* partPath = malloc(partSize);
    int status = kOxRenderFailed;
    if (!partPath) return Fail(render, "there is no memory left");
    snprintf(partPath, partSize, "%s.part", render->path);
    render->file = fopen(partPath, "wb");
    if (render->file) {
        status = WriteAll(render);
        const int isClosed = fclose(render->file) == 0; /* may be the first to report a full disk */
        if (status == kOxRenderDone && (!isClosed || rename(partPath, render->path) != 0))
            status = FailToWrite(render);
        if (status != kOxRenderDone) remove(partPath);
    } else {
        status = FailToWrite(render);
    }
    free(partPath);
    return status;
}

/* ---- Entry points ---------------------------------------------------------------------------- */

static const OxPluginHost* host; /* set before the first render */

static int RenderPicture(const OxRenderJob_v1* job) {
    Render render = {0};
    render.job = job;
    if (!host) return Fail(&render, "there is no plug-in host");
    render.iterators = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    render.utils = host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
    render.attributes = host->getSuite("AttributeHost", 1);
    if (!render.iterators || !render.utils || !render.attributes)
        return Fail(&render, "the host does not have the suites to read a scene by");
    render.utils->emptyFlattenedMaterialCache(); /* may hold those of another scene */

    /* The path of the picture, or of the tile that the scene's render settings ask for. */
    OxAttributeStruct* path = render.utils->getTilePath(job->root, job->picture);
    render.path = render.attributes->getString(path, 0.0f, 0);
    const int status =
        render.path ? WriteFile(&render) : Fail(&render, "there is no path for the picture");
    if (status == kOxRenderDone && job->listener.onPicture)
        job->listener.onPicture(render.path, job->listener.user);
    render.attributes->release(path);
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
