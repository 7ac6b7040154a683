#ifndef OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE2_H
#define OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE2_H

/* Version 2 of the suite of a renderer plug-in. C99.

   A render is an object: a caller starts it, looks at its pixels while they are drawn, pauses it,
   limits it to a region, hands it the changes of an edited scene, waits for its end, and releases
   it. Several renders may run in a process at once.

       OxRenderStruct* render = renderer->start(&job, &error);
       int status = renderer->wait(render, -1.0, &error);
       renderer->release(render);

   A plug-in library exports the suite as OxTellarSDK/OxPluginApi.h says, with the API name
   OX_RENDERER_API and the version 2. It reads scenes by version 4 of the suites
   "ScenegraphIteratorHost", "RenderOutputUtilsHost" and "AttributeHost", and makes its errors with
   createError of the last. A caller takes version 1 of a plug-in that has no version 2.

   Ownership, errors and threads are those of the host's suites of version 4: what is returned
   carries one reference, `error` may be null, and any thread may call any slot, except that no slot
   is called after the release of a render. A null render is the error kOxErrorBadCall; slots
   without `error` accept null and return 0 or nothing for it. None of the functions may let an
   exception out. */

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

/* The answer of wait() for a render that goes on, besides those of OxRenderStatus. */
enum { kOxRenderRunning = 4 };

/* Pixels of a picture: x from the left and y from the top of the whole picture, both from 0, also
   when the scene asks for a tile or a crop window. */
typedef struct OxPixelRegion {
    int32_t left, top;
    int32_t width, height; /* 0 0: the whole picture */
} OxPixelRegion;

/* The caller's functions for a render. Each may be null. The plug-in may call them from any of its
   threads, one call at a time, also before start() has returned and until release() returns. Texts
   live as long as the call. In them, the caller may call request(), pause(), resume(), setRegion()
   and the slots that read layers, once it has the render. */
typedef struct OxRenderListener_v2 {
    uint32_t size; /* sizeof(OxRenderListener_v2) */
    /* The part of the work that is done, from 0 to 1, and the present step. */
    void (*onProgress)(double fraction, const char* what, void* user);
    /* `level` is one of OxPluginHost/OxPluginHost.h: kOxLogInfo and so on. The reason why a render
       failed is no message: wait() returns it. */
    void (*onMessage)(int32_t level, const char* message, void* user);
    /* Pixels of the region are newer than before. readLayer() has them already. */
    void (*onPixels)(const OxPixelRegion* region, void* user);
    /* A file is complete at this path. */
    void (*onPicture)(const char* path, void* user);
    void* user;
} OxRenderListener_v2;

/* One picture to be drawn. All pointers are borrowed for the call of start(). */
typedef struct OxRenderJob_v2 {
    uint32_t size; /* sizeof(OxRenderJob_v2) */
    /* The location "/root", which the render retains. Camera, resolution, crop window, tile,
       shutter and layers are those of its "renderSettings". */
    OxSgIteratorStruct* root;
    /* The file for a picture that is not a tile; the extension tells the format. Null: no file. A
       file is either complete or not there. A live render replaces it with each complete picture.
     */
    const char* picture;
    /* The scene's sample time to which the shutter's times are relative. */
    float frame;
    /* Paths per pixel; 0 leaves it to the scene or the renderer. */
    int32_t samples;
    /* The number of threads; 0 means one for each processor. */
    int32_t threads;
    /* 1: after the picture is complete, the render waits for applyChanges() and setRegion(). */
    int32_t isLive;
    /* The pixels to draw, as for setRegion(). */
    OxPixelRegion region;
    OxRenderListener_v2 listener;
} OxRenderJob_v2;

/* A layer of the picture. The texts are borrowed from the render, until the next applyChanges(). */
typedef struct OxRenderLayer {
    const char* name;     /* "" for the colors */
    const char* channels; /* the names of the channels, with commas: "R,G,B,A" */
    int32_t channelCount;
    /* 1: each value has the bits of an unsigned integer instead of a float. */
    int32_t isInteger;
    /* The pixels of the layer: those of the scene's crop window and tile. */
    OxPixelRegion region;
} OxRenderLayer;

/* Suite "RendererPlugin", version 2. The order of the slots is the contract: no slot is ever
   changed or removed. */
typedef struct OxRendererPluginSuite_v2 {
    uint32_t size;
    uint32_t version;

    /* 0 [any thread] Starts a render and returns soon: the scene is read later, by the render's own
         threads. Null with an error for a job that cannot be drawn, such as one without a root or
         with a picture that cannot be written. */
    OxRenderStruct* (*start)(const OxRenderJob_v2* job, OxErrorStruct** error);
    /* 1 [any thread] Ends the render if it goes on, waits for its threads, and frees it. */
    void (*release)(OxRenderStruct* render);
    /* 2 [any thread] Waits until the picture is complete and written, or the render has ended: an
         OxRenderStatus; kOxRenderRunning after so many seconds without that. Negative: without an
         end. For kOxRenderFailed, *error tells the reason, again with every call. */
    int32_t (*wait)(OxRenderStruct* render, double seconds, OxErrorStruct** error);
    /* 3 [any thread] Tells the render an OxRenderWish, which it follows soon, also while it is
         paused. kOxRenderGoOn takes nothing back. */
    void (*request)(OxRenderStruct* render, int32_t wish);
    /* 4 5 [any thread] Lets the render rest, and go on. A pause does not count for a time limit. */
    void (*pause)(OxRenderStruct* render);
    void (*resume)(OxRenderStruct* render);
    /* 6 [any thread] Limits what is drawn to the part of the region that is in the picture; null
       for the whole picture. Pixels outside keep what they have, and are completed when a later
       region includes them. Returns 1, or 0 with an error: the region has no pixel of the picture,
       or the render has ended. */
    int32_t (*setRegion)(OxRenderStruct* render, const OxPixelRegion* region,
                         OxErrorStruct** error);
    /* 7 [any thread] The number of layers; 0 before the scene has been read. */
    int64_t (*getNumberOfLayers)(OxRenderStruct* render);
    /* 8 [any thread] Describes a layer. Returns 1, or 0 when the index is out of range. */
    int32_t (*getLayer)(OxRenderStruct* render, int64_t index, OxRenderLayer* layer);
    /* 9 [any thread] Copies the present values of a layer's pixels, row by row from the top, with
         all channels of a pixel together. `count` is the number of floats: the product of the
         region's width and height and the number of channels. Each pixel is whole, with all its
         paths so far; pixels without a path are 0. Returns the number of complete passes over the
         region to draw, or -1 with an error. */
    int64_t (*readLayer)(OxRenderStruct* render, int64_t index, float* values, int64_t count,
                         OxErrorStruct** error);
    /* 10 [any thread] Brings a live render up to the revision to which the changes lead, and begins
          to draw anew. The changes begin at the revision that the render has. Returns 1 when the
       new revision has been read, or 0 with an error; the render then stays as it was. */
    int32_t (*applyChanges)(OxRenderStruct* render, const OxChangesStruct* changes,
                            OxErrorStruct** error);
    /* 11 [any thread] Joins `count` tiles of one picture: an OxRenderStatus. The slot is null when
       the renderer cannot join its tiles. `listener` may be null. */
    int32_t (*stitch)(const char* const* tiles, int64_t count, const char* picture,
                      const OxRenderListener_v2* listener, OxErrorStruct** error);
} OxRendererPluginSuite_v2;

#ifdef __cplusplus
}
#endif

#endif
