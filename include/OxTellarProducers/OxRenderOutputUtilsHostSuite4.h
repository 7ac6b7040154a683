#ifndef OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOSTSUITE4_H
#define OXTELLARPRODUCERS_OXRENDEROUTPUTUTILSHOSTSUITE4_H

/* Transforms, cameras, the render resolution, materials, textures, paths of outputs and location
   delegates for plug-ins written in C. C99.

       const OxRenderOutputUtilsHostSuite_v4* utils =
           host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 4);
       double matrix[16];
       if (utils->getWorldMatrix(location, 0.0f, matrix, &error)) ...

   Matrices are 16 doubles row by row for row vectors: a point becomes p M, and the last four
   doubles are the translation. Times are frames relative to the frame.

   The table. `size` is the number of bytes that the host's table has, and `version` is 4. A later
   host may append slots and raise `size`: before using a slot that was added after the first
   release of version 4, compare its offset with `size`.

   Ownership. Every handle that a slot returns carries one reference owned by the caller, who
   releases it once. A borrowed pointer lives as long as a reference to the handle that it came
   from. Arguments are borrowed for the call. Handles of cameras, nodes and connections are those of
   version 3. Locations come from "ScenegraphIteratorHost"; attributes and errors are read and
   released through "AttributeHost", version 4.

   Errors. A slot with the last parameter `OxErrorStruct** error` assigns null to *error when it
   succeeds, and an error with one reference owned by the caller when it fails. `error` may be null.
   Nothing is logged. A null handle is the error kOxErrorBadCall; slots without the parameter accept
   null and return null, 0 or nothing for it. Null without an error means that there is no such
   thing.

   Threads. Any thread may call any slot, and several threads may use one handle at once. */

#include <stdint.h>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarSDK/ErrorSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A camera's lens. */
typedef struct OxLens {
    double fov;          /* across the width of a screen window from -1 to 1, in degrees */
    double nearDistance; /* of the clipping planes from the camera */
    double farDistance;
    double left; /* screen window: 1 is half the field of view */
    double right;
    double bottom;
    double top;
    int32_t isOrthographic;
    /* Twice the length, in the scene, of one unit of an orthographic camera's screen window; 0 when
       it is not given. */
    double orthographicWidth;
} OxLens;

/* Suite "RenderOutputUtilsHost", version 4. The order of the slots is the contract: no slot is ever
   changed or removed. */
typedef struct OxRenderOutputUtilsHostSuite_v4 {
    uint32_t size;
    uint32_t version;

    /* ---- Transforms ---- */

    /* 0 [any thread] The location's local space to the world. Returns 1, or 0 with an error. */
    int32_t (*getWorldMatrix)(OxSgIteratorStruct* location, float time, double matrix[16],
                              OxErrorStruct** error);
    /* 1 [any thread] The same at several times: 16 doubles for each. */
    int32_t (*getWorldMatrices)(OxSgIteratorStruct* location, const float* times, int64_t count,
                                double* matrices, OxErrorStruct** error);
    /* 2 [any thread] The location's local space to that of its parent; to the world when its
         transform begins with an "origin". */
    int32_t (*getLocalMatrix)(OxSgIteratorStruct* location, float time, double matrix[16],
                              OxErrorStruct** error);
    /* 3 [any thread] The times at which a transform from the root down to the location has samples,
         ascending. Writes at most `capacity` of them and returns their number, or -1 with an
         error. */
    int64_t (*getTransformTimes)(OxSgIteratorStruct* location, float* times, int64_t capacity,
                                 OxErrorStruct** error);

    /* ---- Cameras ---- */

    /* 4 [any thread] The path of the render camera as a string attribute. Any location of the
         scene will do. */
    OxAttributeStruct* (*getCameraPath)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 5 [any thread] The camera at a path that the location resolves; pass the root for an absolute
         path. Null when there is none. A later edit of the scene does not change it. */
    CameraInfoStruct* (*getCameraInfo)(OxSgIteratorStruct* root, const char* cameraPath,
                                       OxErrorStruct** error);
    /* 6 7 [any thread] Adds and drops one reference. */
    void (*retainCameraInfo)(CameraInfoStruct* camera);
    void (*releaseCameraInfo)(CameraInfoStruct* camera);
    /* 8 [any thread] Writes the lens. */
    void (*getCameraLens)(const CameraInfoStruct* camera, OxLens* lens);
    /* 9 to 17 [any thread] Its single values. */
    float (*getCameraFov)(CameraInfoStruct* camera);
    float (*getCameraNear)(CameraInfoStruct* camera);
    float (*getCameraFar)(CameraInfoStruct* camera);
    float (*getCameraLeft)(CameraInfoStruct* camera);
    float (*getCameraRight)(CameraInfoStruct* camera);
    float (*getCameraTop)(CameraInfoStruct* camera);
    float (*getCameraBottom)(CameraInfoStruct* camera);
    int (*getCameraOrthographic)(CameraInfoStruct* camera);
    float (*getCameraOrthographicWidth)(CameraInfoStruct* camera);
    /* 18 [any thread] Camera to world at the sample nearest to time 0: borrowed. */
    const double* (*getCameraXform)(CameraInfoStruct* camera);
    /* 19 [any thread] Camera space to clip space for a picture of this size in pixels: p M, then
          divide by w. Returns 1, or 0 with an error. */
    int32_t (*getCameraProjection)(const CameraInfoStruct* camera, int32_t width, int32_t height,
                                   double matrix[16], OxErrorStruct** error);
    /* 20 [any thread] Turns `count` points of the world, three doubles each, into normalised device
          coordinates: x from 0 at the left edge of the screen window to 1 at the right one, y from
          0 at the bottom to 1 at the top, z from 0 at the near plane to 1 at the far one. Points
          behind the camera are mirrored; their z is negative. Returns 1, or 0 with an error. */
    int32_t (*convertPointsToNdc)(const CameraInfoStruct* camera, double* points, int64_t count,
                                  OxErrorStruct** error);
    /* 21 [any thread] The same into pixels of a picture of this size: x from the left edge, y from
          the bottom. The height of the screen window is fitted to the picture's aspect. z goes from
          0 at the near plane to 1 at the far one as the matrix of slot 19 has it. */
    int32_t (*convertPointsToPixels)(const CameraInfoStruct* camera, int32_t width, int32_t height,
                                     double* points, int64_t count, OxErrorStruct** error);
    /* 22 [any thread] The number of pixels that a box (x min, x max, y min, y max, z min, z max) in
          a space that `matrix` takes to the world covers in a picture of this size, which shows the
          whole screen window; -1 with an error. A null matrix means the world itself. */
    int64_t (*getPixelAreaOfBound)(const CameraInfoStruct* camera, int32_t width, int32_t height,
                                   const double bound[6], const double* matrix,
                                   OxErrorStruct** error);
    /* 23 [any thread] The same for the location's attribute "bound" and a named resolution. Without
          a bound or camera it is the error kOxErrorValue. */
    int64_t (*getPixelAreaThroughCamera)(OxSgIteratorStruct* location, const char* cameraPath,
                                         const char* resolution, OxErrorStruct** error);
    /* 24 [any thread] The sample times that describe the motion while the shutter is open, out of
          `count`, as a float attribute in ascending order. NaN is left out. */
    OxAttributeStruct* (*getSampleTimesRelevantToShutterRange)(const float* times, int64_t count,
                                                               float shutterOpen,
                                                               float shutterClose,
                                                               OxErrorStruct** error);

    /* ---- The picture ---- */

    /* 25 [any thread] The name of the render resolution as a string attribute; its size in pixels
          goes to *width and *height, each of which may be null. */
    OxAttributeStruct* (*getRenderResolution)(OxSgIteratorStruct* location, int32_t* width,
                                              int32_t* height, OxErrorStruct** error);
    /* 26 [any thread] The path of the file for the tile of a picture that the location's render
          settings ask for, as a string attribute; the path itself when there are no tiles. */
    OxAttributeStruct* (*getTilePath)(OxSgIteratorStruct* location, const char* path,
                                      OxErrorStruct** error);
    /* 27 [any thread] The path of a named render output while it is rendered, as a string
          attribute: see version 3. */
    OxAttributeStruct* (*getTempRenderLocation)(OxSgIteratorStruct* root, const char* outputName,
                                                float frame, OxErrorStruct** error);

    /* ---- Materials ---- */

    /* 28 [any thread] The materials of the location and of its ancestors, combined for `count`
          terminals. Null when there are none. Results are cached by the content of the materials
          and by the terminals, never by a path: equal arguments give one result in every scene. */
    OxAttributeStruct* (*getFlattenedMaterialAttr)(OxSgIteratorStruct* location,
                                                   const char* const* terminalNames, int64_t count,
                                                   OxErrorStruct** error);
    /* 29 [any thread] The "material" attributes that slot 28 combines, the location's own first:
          groups named m0, m1, ... in one group. Null when there are none. */
    OxAttributeStruct* (*getMaterials)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 30 [any thread] Combines a list of materials, the nearest first, as slot 28 does. */
    OxAttributeStruct* (*flattenMaterials)(OxAttributeStruct* const* materials,
                                           int64_t materialCount, const char* const* terminalNames,
                                           int64_t terminalCount, OxErrorStruct** error);
    /* 31 [any thread] Empties the cache behind slots 28 and 30. Needed only to free its memory. */
    void (*emptyFlattenedMaterialCache)(void);
    /* 32 [any thread] The nodes of a network material. */
    OxShadingNodeMapStruct* (*getShadingNetworkNodesOfMaterial)(OxAttributeStruct* material,
                                                                OxErrorStruct** error);
    /* 33 [any thread] The same for a location's own "material". */
    OxShadingNodeMapStruct* (*getShadingNetworkNodes)(OxSgIteratorStruct* location,
                                                      OxErrorStruct** error);
    /* 34 [any thread] Destroys a node map. Node handles that came from it stay valid. */
    void (*destroyShadingNodeMap)(OxShadingNodeMapStruct* nodes);
    /* 35 to 38 [any thread] Adds and drops one reference. */
    void (*retainShadingNode)(OxShadingStruct* node);
    void (*releaseShadingNode)(OxShadingStruct* node);
    void (*retainShadingConnection)(OxShadingStruct* connection);
    void (*releaseShadingConnection)(OxShadingStruct* connection);
    /* 39 [any thread] The node of this name; null when there is none. */
    OxShadingStruct* (*findShadingNode)(OxShadingNodeMapStruct* nodes, const char* name,
                                        OxErrorStruct** error);
    /* 40 41 [any thread] Borrowed: the node's name and type. */
    const char* (*getShadingNodeName)(OxShadingStruct* node);
    const char* (*getShadingNodeType)(OxShadingStruct* node);
    /* 42 43 [any thread] The number of a node's parameters, and their names by index: borrowed,
       null when out of range. */
    int64_t (*getNumberOfShadingParameters)(OxShadingStruct* node);
    const char* (*getShadingParameterName)(OxShadingStruct* node, int64_t index);
    /* 44 [any thread] The value of a parameter; null when there is none. */
    OxAttributeStruct* (*getShadingParameter)(OxShadingStruct* node, const char* name,
                                              OxErrorStruct** error);
    /* 45 46 [any thread] The same for its connections. */
    int64_t (*getNumberOfShadingConnections)(OxShadingStruct* node);
    const char* (*getShadingConnectionName)(OxShadingStruct* node, int64_t index);
    /* 47 [any thread] The connection of this full name; null when there is none. */
    OxShadingStruct* (*getShadingConnection)(OxShadingStruct* node, const char* name,
                                             OxErrorStruct** error);
    /* 48 [any thread] 1 when the node has a name and a type, else 0. */
    int (*isShadingNodeValid)(OxShadingStruct* node);
    /* 49 50 51 [any thread] Borrowed: the connection's name, and the port and the node that feed
                it. */
    const char* (*getConnectionName)(OxShadingStruct* connection);
    const char* (*getConnectedPort)(OxShadingStruct* connection);
    const char* (*getConnectedNode)(OxShadingStruct* connection);
    /* 52 [any thread] 1 when the connection has a name, a port and a node, else 0, also for null.
     */
    int (*isShadingConnectionValid)(OxShadingStruct* connection);
    /* 53 [any thread] A group of textures as arbitrary attributes. */
    OxAttributeStruct* (*convertTexturesToArbitraryAttr)(OxAttributeStruct* textures,
                                                         OxErrorStruct** error);

    /* ---- Procedurals, delegates, paths ---- */

    /* 54 [any thread] The arguments of the procedural at a location, from its group, as a string
          attribute. `context` null means the defaults; errors that occur while arguments are built
          go to `onError`, which may be null. */
    OxAttributeStruct* (*getProceduralArguments)(OxSgIteratorStruct* location,
                                                 const OxProceduralContext_v1* context,
                                                 OxAttributeStruct* procedural,
                                                 OxProceduralForm form, OxProceduralError onError,
                                                 void* user, OxErrorStruct** error);
    /* 55 [any thread] Asks all plug-ins of the API "TellarRuntime" to drop their caches. */
    void (*flushRuntimePluginCaches)(void);
    /* 56 [any thread] The platform's name, as a string attribute. */
    OxAttributeStruct* (*getArchString)(OxErrorStruct** error);
    /* 57 [any thread] The path with "%ARCH" replaced by that name, as a string attribute. */
    OxAttributeStruct* (*expandArchPath)(const char* path, OxErrorStruct** error);
    /* 58 [any thread] The delegate that takes over locations of a type for a renderer (null or
          empty: for every renderer); null when there is none. It lives as long as the process. */
    OxScenegraphLocationDelegatePluginSuite_v1* (*getLocationDelegate)(const char* locationType,
                                                                       const char* rendererName,
                                                                       OxErrorStruct** error);
    /* 59 [any thread] The location types that have a delegate, as one string attribute. */
    OxAttributeStruct* (*getLocationTypesWithDelegates)(const char* rendererName,
                                                        OxErrorStruct** error);
} OxRenderOutputUtilsHostSuite_v4;

#ifdef __cplusplus
}
#endif

#endif
