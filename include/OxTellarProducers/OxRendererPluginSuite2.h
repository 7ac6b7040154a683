#ifndef OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE2_H
#define OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE2_H

/* Version 2 of the suite of a renderer plug-in. C99.

   A render is an object: a caller starts it, looks at its pixels while they are drawn, pauses it,
   limits it to a region, hands it the changes of an edited scene, waits for its end, and releases
   it. Several renders may run in a process at once.

       OxRenderStruct* render = renderer->start(&job, &error);
       int status = renderer->wait(render, &error);
       renderer->release(render);

   A plug-in library exports the suite as OxTellarSDK/OxPluginApi.h says, with the API name
   OX_RENDERER_API and the version 2. It reads scenes by version 4 of the suites
   "ScenegraphIteratorHost", "RenderOutputUtilsHost" and "AttributeHost", and makes its errors with
   createError of the last. A caller takes version 1 of a plug-in that has no version 2.

   Ownership, errors and threads are those of the host's suites of version 4: what is returned
   carries one reference, `error` may be null, and any thread may call any slot, except that no slot
   is called after the release of a render. None of the functions may let an exception out. */

#include <stdint.h>

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/ErrorSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_RENDERER_API_VERSION_2 2

/* A render that was started. Opaque: the plug-in defines it. */
typedef struct OxRenderStruct OxRenderStruct;

/* Pixels of a picture: x from the left, y from the top, both from 0. */
typedef struct OxPixelRegion {
    int32_t left, top;
    int32_t width, height; /* 0 0: the whole picture */
} OxPixelRegion;

/* The caller's functions for a render. Each may be null. The plug-in may call them from any of its
   threads, one call at a time. Texts live as long as the call. The caller may call any slot of the
   render in them except wait() and release(). */
typedef struct OxRenderListener_v2 {
    uint32_t size; /* sizeof(OxRenderListener_v2) */
    /* The part of the work that is done, from 0 to 1, and the present step. */
    void (*onProgress)(double fraction, const char* what, void* user);
    /* `level` is one of OxPluginHost/OxPluginHost.h: kOxLogInfo and so on. */
    void (*onMessage)(int32_t level, const char* message, void* user);
    /* Pixels of the region are newer than before, for readLayer(). */
    void (*onPixels)(const OxPixelRegion* region, void* user);
    /* A file is complete at this path. */
    void (*onPicture)(const char* path, void* user);
    void* user;
} OxRenderListener_v2;

/* One picture to be drawn. All pointers are borrowed for the call of start(). */
typedef struct OxRenderJob_v2 {
    uint32_t size; /* sizeof(OxRenderJob_v2) */
    /* The location "/root". Camera, resolution, crop window, tile, shutter and layers are those of
       its "renderSettings". */
    OxSgIteratorStruct* root;
    /* The file for a picture that is not a tile; the extension tells the format. Null: no file. */
    const char* picture;
    /* The scene's sample time to which the shutter's times are relative. */
    float frame;
    /* Paths per pixel; 0 leaves it to the scene or the renderer. */
    int32_t samples;
    /* The number of threads; 0 means one for each processor. */
    int32_t threads;
    /* 1: the render stays alive after the picture is complete, for edits. */
    int32_t isLive;
    OxPixelRegion region;
    OxRenderListener_v2 listener;
} OxRenderJob_v2;

/* A layer of the picture. */
typedef struct OxRenderLayer {
    const char* name;     /* "" for the colors; borrowed from the render */
    const char* channels; /* the names of the channels, with commas: "R,G,B,A" */
    int32_t channelCount;
    int32_t width; /* pixels */
    int32_t height;
} OxRenderLayer;

/* Suite "RendererPlugin", version 2. The order of the slots is the contract: no slot is ever
   changed or removed. */
typedef struct OxRendererPluginSuite_v2 {
    uint32_t size;
    uint32_t version;

    /* 0 [any thread] Starts a render and returns at once, with what can be checked at once. Null
         with an error when there is nothing to draw. */
    OxRenderStruct* (*start)(const OxRenderJob_v2* job, OxErrorStruct** error);
    /* 1 [any thread] Ends the render if it goes on, waits for its threads, and frees it. */
    void (*release)(OxRenderStruct* render);
    /* 2 [any thread] Waits until the picture is complete or the render has ended: an
         OxRenderStatus. For kOxRenderFailed, *error tells the reason. */
    int32_t (*wait)(OxRenderStruct* render, OxErrorStruct** error);
    /* 3 [any thread] Tells the render an OxRenderWish, which it follows soon. */
    void (*request)(OxRenderStruct* render, int32_t wish);
    /* 4 5 [any thread] Lets the render rest, and go on. */
    void (*pause)(OxRenderStruct* render);
    void (*resume)(OxRenderStruct* render);
    /* 6 [any thread] Limits what is drawn to a region; null for the whole picture. Pixels outside
         keep what they have. Returns 1, or 0 with an error. */
    int32_t (*setRegion)(OxRenderStruct* render, const OxPixelRegion* region,
                         OxErrorStruct** error);
    /* 7 [any thread] The number of layers; 0 before the scene has been read. */
    int64_t (*getNumberOfLayers)(OxRenderStruct* render);
    /* 8 [any thread] Describes a layer. Returns 1, or 0 when the index is out of range. */
    int32_t (*getLayer)(OxRenderStruct* render, int64_t index, OxRenderLayer* layer);
    /* 9 [any thread] Copies the present values of a layer's pixels, row by row from the top, with
         all channels of a pixel together: `count` floats for the whole picture. Returns the number
         of complete passes over the picture, or -1 with an error. */
    int64_t (*readLayer)(OxRenderStruct* render, int64_t index, float* values, int64_t count,
                         OxErrorStruct** error);
    /* 10 [any thread] Brings a live render up to the revision to which the changes lead. Drawing
          begins anew. Returns 1, or 0 with an error; the render then stays as it was. */
    int32_t (*applyChanges)(OxRenderStruct* render, const OxChangesStruct* changes,
                            OxErrorStruct** error);
    /* 11 [any thread] Joins `count` tiles of one picture: an OxRenderStatus. Null when the renderer
          cannot join its tiles. */
    int32_t (*stitch)(const char* const* tiles, int64_t count, const char* picture,
                      const OxRenderListener_v2* listener, OxErrorStruct** error);
} OxRendererPluginSuite_v2;

#ifdef __cplusplus
}
#endif

#endif
