#ifndef TELLAR_TEST_VERSION4CHECKSSUITE_H
#define TELLAR_TEST_VERSION4CHECKSSUITE_H

/* Suite "TestVersion4Checks", version 1, of the plug-in "version 4 checks": what a renderer plug-in
   in C does with version 4 of the suites. Each entry returns 0, or the line of
   Version4ChecksPlugin.c at which something was not as it should be. */
typedef struct Version4ChecksSuite {
    /* Every slot takes null handles, and those with an error parameter return an error. */
    int (*checkNullHandles)(void);
    /* The example on top of the header: opens the scene and walks it. */
    int (*checkWalk)(const char* opFile, long locations);
    /* Visits the scene with threads, passing numbers down. */
    int (*checkVisit)(const char* opFile, int threads, long locations);
    /* A file that is not there, and a location below it that fails: its code, texts and siblings.
     */
    int (*checkErrors)(const char* opFile, const char* failing);
    /* Transforms, camera and picture of a scene with the camera at /root/world/cam/camera. */
    int (*checkCamera)(const char* opFile);
} Version4ChecksSuite;

#endif
