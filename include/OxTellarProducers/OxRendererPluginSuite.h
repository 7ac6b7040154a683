#ifndef OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE_H
#define OXTELLARPRODUCERS_OXRENDERERPLUGINSUITE_H

/* The suite of a renderer plug-in, which draws the picture that a scene's render settings ask for.
   C99.

   A plug-in library exports it as OxTellarSDK/OxPluginApi.h says, with the API name and version
   below. It is given the host before it is asked for anything, and finds there the suites by which
   it reads the scene ("ScenegraphIteratorHost", "RenderOutputUtilsHost", "AttributeHost"). None of
   its functions may let an exception out. */

#include <stdint.h>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_RENDERER_API "RendererPlugin"
#define OX_RENDERER_API_VERSION 1

/* The result of drawing a picture or of joining tiles. */
typedef enum OxRenderStatus {
    kOxRenderDone = 0,
    kOxRenderFailed = 1,    /* a message of level kOxLogError has told the reason */
    kOxRenderCancelled = 2, /* no file was written or changed */
    kOxRenderStopped = 3    /* the picture so far was written, after kOxRenderFinish */
} OxRenderStatus;

/* The wish of a caller about a render that is under way. */
typedef enum OxRenderWish {
    kOxRenderGoOn = 0,
    kOxRenderCancel = 1, /* to stop and write nothing */
    kOxRenderFinish = 2  /* to stop and write the picture as far as it is drawn; a renderer that
                            cannot do that takes it for kOxRenderCancel */
} OxRenderWish;

/* The caller's functions for a plug-in. Each may be null. The plug-in may call them from any of its
   threads, one call at a time except for isCancelled. Texts live as long as the call. */
typedef struct OxRenderListener_v1 {
    /* The part of the work that is done, from 0 to 1, and the present step. */
    void (*onProgress)(double fraction, const char* what, void* user);
    /* `level` is one of OxPluginHost/OxPluginHost.h: kOxLogInfo and so on. */
    void (*onMessage)(int level, const char* message, void* user);
    /* A picture is complete at this path. */
    void (*onPicture)(const char* path, void* user);
    /* An OxRenderWish: not 0 when the renderer shall stop. Any number of threads may call it at
       once. */
    int (*isCancelled)(void* user);
    void* user;
} OxRenderListener_v1;

/* One picture to be drawn. All pointers are borrowed for the call. */
typedef struct OxRenderJob_v1 {
    /* The scene's "/root", whose count stays as it is. Camera, resolution, crop window, tile and
       shutter are those of its "renderSettings". */
    OxSgIteratorStruct* root;
    /* The file for a picture that is not a tile; the extension tells the format. */
    const char* picture;
    /* The scene's sample time to which the shutter's times are relative. */
    float frame;
    /* Paths per pixel; 0 leaves it to the scene or the renderer. */
    int32_t samples;
    /* The number of threads; 0 means one for each processor. */
    int32_t threads;
    OxRenderListener_v1 listener;
} OxRenderJob_v1;

/* Suite "RendererPlugin", version 1. The order of the entries is the contract: this struct is
   never edited again. A caller runs one render at a time in a process. */
typedef struct OxRendererPluginSuite_v1 {
    /* 0 Draws and writes the picture, and returns when that is done: an OxRenderStatus. A file is
         either complete or not there. */
    int (*render)(const OxRenderJob_v1* job);
    /* 1 Joins `count` tiles of one picture: an OxRenderStatus. Null when the renderer cannot join
         its tiles. */
    int (*stitch)(const char* const* tiles, int64_t count, const char* picture,
                  const OxRenderListener_v1* listener);
} OxRendererPluginSuite_v1;

#ifdef __cplusplus
}
#endif

#endif
