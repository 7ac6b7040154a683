#ifndef TELLAR_TEST_RENDERUTILSCHECKSSUITE_H
#define TELLAR_TEST_RENDERUTILSCHECKSSUITE_H

/* Suite "TestRenderUtilsChecks", version 1, of the plug-in "render utils checks": what a renderer
   plug-in in C does with the render-output suite. Each entry returns 0, or the line of
   RenderUtilsChecksPlugin.c at which something was not as it should be. */
typedef struct RenderUtilsChecksSuite {
    /* Every entry takes null. */
    int (*checkNullHandles)(void);
    /* Reads the camera of a scene that the test made, and lets its handle go. */
    int (*checkCamera)(const char* opFile);
    /* Walks the shading network of /root/world/geo, and lets all handles go in another order. */
    int (*checkShadingNetwork)(const char* opFile);
    /* All that is neither about cameras nor about nodes, on /root and /root/world/geo. */
    int (*checkRest)(const char* opFile);
    /* Plug-ins of the runtime's API, and no others, hear of a flush. */
    int (*checkFlush)(void);
} RenderUtilsChecksSuite;

#endif
