#ifndef OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOSTSUITE_H
#define OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOSTSUITE_H

/* Cameras, the render resolution, materials, textures, paths of outputs and location delegates for
   plug-ins written in C. C99.

       const OxRenderOutputUtilsHostSuite_v3* utils =
           host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
       OxAttributeStruct* path = utils->getCameraPath(root);
       CameraInfoStruct* camera =
           utils->getCameraInfo(root, attributes->getString(path, 0, 0));
       if (camera) ... utils->getCameraFov(camera) ...
       utils->releaseCameraInfo(camera);
       attributes->release(path);

   Counts. Handles of cameras, nodes and connections carry one reference owned by the caller; so do
   attribute handles, which are read and released through the suite "AttributeHost". The counts of
   camera, node and connection handles are plain integers: two threads must not retain or release
   one handle at once. Locations (OxSgIteratorStruct) come from the suite "ScenegraphIteratorHost";
   no entry changes their counts.

   Errors. A null handle is accepted everywhere and yields null, 0 or "", except in slots 0, 4, 5,
   31 and 48. No entry lets an exception out: "RenderOutputUtils" logs it at error level with the
   entry's name, and the entry returns its null result.

   Threads. Every entry may be called from any thread, with the limit for counts above. */

#include <stdint.h>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_RENDER_OUTPUT_UTILS_HOST_SUITE "RenderOutputUtilsHost"

/* A camera of a scene. Opaque. */
typedef struct CameraInfoStruct CameraInfoStruct;
/* A node of a shading network, or one of its connections. Opaque. */
typedef struct OxShadingStruct OxShadingStruct;
/* The nodes of a shading network by name. Opaque. */
typedef struct OxShadingNodeMapStruct OxShadingNodeMapStruct;

/* The render that a procedural is part of. */
typedef struct OxProceduralContext_v1 {
    int32_t frame;
    float shutterOpen; /* in frames, relative to the frame */
    float shutterClose;
    float cropWindow[4]; /* x min, x max, y min, y max */
    int32_t xres;        /* pixels */
    int32_t yres;
} OxProceduralContext_v1;

typedef enum OxProceduralForm {
    kOxProceduralClassic = 0,   /* flags of a command line */
    kOxProceduralAttributes = 1 /* the XML text of one group */
} OxProceduralForm;

/* Receives the errors that occur while arguments are built, in the calling thread, before the entry
   returns. The message lives as long as the call. */
typedef void (*OxProceduralError)(const char* message, void* user);

/* Suite "RenderOutputUtilsHost", version 3. The order of the slots is the contract: this struct is
   never edited again, a new entry makes OxRenderOutputUtilsHostSuite_v4. */
typedef struct OxRenderOutputUtilsHostSuite_v3 {
    /* 0 The arguments of the procedural at a location, from its group, as a string attribute.
         `context` null means the defaults (frame 1, shutter 0 0, whole picture); `onError` may be
         null and is not called for the attributes form. Without a location the text holds no camera
         information. */
    OxAttributeStruct* (*getProceduralArguments)(OxSgIteratorStruct* location,
                                                 const OxProceduralContext_v1* context,
                                                 OxAttributeStruct* procedural,
                                                 OxProceduralForm form, OxProceduralError onError,
                                                 void* user);
    /* 1 Asks all plug-ins of the API "TellarRuntime" to drop their caches. */
    void (*flushRuntimePluginCaches)(void);
    /* 2 The number of pixels that the location's bound covers in a picture of the named
         resolution. */
    int (*getPixelAreaThroughCamera)(OxSgIteratorStruct* location, const char* cameraPath,
                                     const char* resolution);
    /* 3 The sample times that describe the motion while the shutter is open, out of `count`, as a
         float attribute in ascending order. NaN is left out. Null for a count below 0, and for null
         `times` unless the count is 0. */
    OxAttributeStruct* (*getSampleTimesRelevantToShutterRange)(const float* times, int64_t count,
                                                               float shutterOpen,
                                                               float shutterClose);
    /* 4 The name of the render resolution as a string attribute; its size in pixels goes to *width
         and *height, each of which may be null. Pass the root; without a location the result is
         "square_512", 512 by 512. */
    OxAttributeStruct* (*getRenderResolution)(OxSgIteratorStruct* root, int* width, int* height);
    /* 5 The path of the render camera as a string attribute. Pass the root; without a location it
       is empty. */
    OxAttributeStruct* (*getCameraPath)(OxSgIteratorStruct* root);
    /* 6 A group of textures as arbitrary attributes. */
    OxAttributeStruct* (*convertTexturesToArbitraryAttr)(OxAttributeStruct* textures);
    /* 7 The platform's name, as a string attribute. */
    OxAttributeStruct* (*getArchString)(void);
    /* 8 The path with "%ARCH" replaced by that name, as a string attribute; null for null. */
    OxAttributeStruct* (*expandArchPath)(const char* path);
    /* 9 The materials of the location and of its ancestors, combined for `count` terminals. Cached
         until slot 10 is called. Trap: the location's path is the only key, so the first result is
         returned for other terminals too, and for the same path in another scene. Call slot 10
         when either changes. */
    OxAttributeStruct* (*getFlattenedMaterialAttr)(OxSgIteratorStruct* location,
                                                   const char* const* terminalNames, int64_t count);
    /* 10 Empties the cache of flattened materials. */
    void (*emptyFlattenedMaterialCache)(void);

    /* 11 The nodes of a network material, to be destroyed by slot 13; null only for errors. */
    OxShadingNodeMapStruct* (*getShadingNetworkNodesOfMaterial)(OxAttributeStruct* material);
    /* 12 The same for a location's own "material"; null for a null location. */
    OxShadingNodeMapStruct* (*getShadingNetworkNodes)(OxSgIteratorStruct* location);
    /* 13 Destroys a node map. Node handles that came from it stay valid. */
    void (*destroyShadingNodeMap)(OxShadingNodeMapStruct* nodes);
    /* 14 */ void (*retainShadingNode)(OxShadingStruct* node);
    /* 15 */ void (*releaseShadingNode)(OxShadingStruct* node);
    /* 16 */ void (*retainShadingConnection)(OxShadingStruct* connection);
    /* 17 */ void (*releaseShadingConnection)(OxShadingStruct* connection);
    /* 18 The node of this name; null when there is none. */
    OxShadingStruct* (*findShadingNode)(OxShadingNodeMapStruct* nodes, const char* name);
    /* 19 20 Borrowed texts of a node, valid as long as its handle: its name and its type. */
    const char* (*getShadingNodeName)(OxShadingStruct* node);
    const char* (*getShadingNodeType)(OxShadingStruct* node);
    /* 21 22 The number of a node's parameters, and their names by index: borrowed, valid as long
             as the handle, "" when out of range. */
    int64_t (*getNumberOfShadingParameters)(OxShadingStruct* node);
    const char* (*getShadingParameterName)(OxShadingStruct* node, int64_t index);
    /* 23 The value of a parameter; null when there is none. */
    OxAttributeStruct* (*getShadingParameter)(OxShadingStruct* node, const char* name);
    /* 24 25 The same for its connections. */
    int64_t (*getNumberOfShadingConnections)(OxShadingStruct* node);
    const char* (*getShadingConnectionName)(OxShadingStruct* node, int64_t index);
    /* 26 The connection of this full name; null when there is none. */
    OxShadingStruct* (*getShadingConnection)(OxShadingStruct* node, const char* name);
    /* 27 1 when the node has a name and a type, else 0. */
    int (*isShadingNodeValid)(OxShadingStruct* node);
    /* 28 29 30 Borrowed texts of a connection, valid as long as its handle: its name, the port and
                the node that feed it. */
    const char* (*getConnectionName)(OxShadingStruct* connection);
    const char* (*getConnectedPort)(OxShadingStruct* connection);
    const char* (*getConnectedNode)(OxShadingStruct* connection);
    /* 31 1 when the connection has a name, a port and a node, else 0. Trap: 1 for null, unlike
          slot 27; test what slot 26 returns before asking. */
    int (*isShadingConnectionValid)(OxShadingStruct* connection);

    /* 32 The camera at a path that the location resolves; pass the root for an absolute path. Null
          when there is none. Trap: results are cached, null too, for as long as the location's hash
          stays the same. A host in C++ empties the cache with TELLAR::ClearCameraInfoCache. */
    CameraInfoStruct* (*getCameraInfo)(OxSgIteratorStruct* root, const char* cameraPath);
    /* 33 34 Adds and drops one reference; the last one frees the handle. */
    void (*retainCameraInfo)(CameraInfoStruct* camera);
    void (*releaseCameraInfo)(CameraInfoStruct* camera);
    /* 35 to 41 The lens: degrees, distances of the clipping planes, screen window. */
    float (*getCameraFov)(CameraInfoStruct* camera);
    float (*getCameraNear)(CameraInfoStruct* camera);
    float (*getCameraFar)(CameraInfoStruct* camera);
    float (*getCameraLeft)(CameraInfoStruct* camera);
    float (*getCameraRight)(CameraInfoStruct* camera);
    float (*getCameraTop)(CameraInfoStruct* camera);
    float (*getCameraBottom)(CameraInfoStruct* camera);
    /* 42 1 or 0. */
    int (*getCameraOrthographic)(CameraInfoStruct* camera);
    /* 43 0 when it is not given. */
    float (*getCameraOrthographicWidth)(CameraInfoStruct* camera);
    /* 44 Camera to world, 16 doubles row by row for row vectors: borrowed, valid as long as the
          handle. */
    const double* (*getCameraXform)(CameraInfoStruct* camera);

    /* 45 The delegate that takes over locations of a type for a renderer (null or empty: for every
          renderer); null when there is none. It lives as long as the process. The first call of
          this slot or the next asks all delegates which renderer and types they are for; a
          delegate that calls either from its entries 1, 4 and 5 finds those asked before it. */
    OxScenegraphLocationDelegatePluginSuite_v1* (*getLocationDelegate)(const char* locationType,
                                                                       const char* rendererName);
    /* 46 The location types that have a delegate, as one string attribute. */
    OxAttributeStruct* (*getLocationTypesWithDelegates)(const char* rendererName);
    /* 47 The path of a named render output while it is rendered, as a string attribute: the
          output's rendererSettings.tempRenderLocation, with home folder, environment variables and
          runs of "#" (the frame) replaced; or else "<tempDir>/<tempRenderId>.<frame>" of the render
          settings, the frame padded to four digits; empty when either of these is missing. */
    OxAttributeStruct* (*getTempRenderLocation)(OxSgIteratorStruct* root, const char* outputName,
                                                float frame);
    /* 48 The path of the file for the tile of a picture that the location's render settings name
          ("renderSettings.tileRender", inherited), as a string attribute; the path itself when
          there are no tiles, null for a null path. */
    OxAttributeStruct* (*getTilePath)(OxSgIteratorStruct* location, const char* path);
} OxRenderOutputUtilsHostSuite_v3;

#ifdef __cplusplus
}
#endif

#endif
