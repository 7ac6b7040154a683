#ifndef TELLAR_TEST_ITERATORCHECKSSUITE_H
#define TELLAR_TEST_ITERATORCHECKSSUITE_H

/* Suite "TestIteratorChecks", version 1, of the plug-in "iterator checks": what a renderer plug-in
   in C does with the iterator suite. Each entry returns 0, or the line of IteratorChecksPlugin.c at
   which something was not as it should be. */
typedef struct IteratorChecksSuite {
    /* Every entry of both versions takes a null handle. */
    int (*checkNullHandles)(void);
    /* Counts of handles from every kind of entry. */
    int (*checkCounts)(const char* opFile);
    /* Walks the scene through version 2. */
    int (*checkVersion2)(const char* opFile, long locations);
    /* `threads` threads walk the scene from one root handle at once, all of them retaining and
       releasing it meanwhile, and hand each other locations that they have found. */
    int (*checkThreads)(const char* opFile, int threads, long locations);
    /* A thread opens the scene and ends; others, which come and go, use the handle that it left. */
    int (*checkThreadThatEnds)(const char* opFile, int threads, long locations);
} IteratorChecksSuite;

#endif
