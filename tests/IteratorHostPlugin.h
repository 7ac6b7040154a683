#ifndef TELLAR_TEST_ITERATORHOSTPLUGIN_H
#define TELLAR_TEST_ITERATORHOSTPLUGIN_H

/* What a renderer plug-in does with the iterator suite, in C: it gets its suites from the host by
   name and version. Each function returns 0, or the line of IteratorHostPlugin.c at which something
   was not as it should be. */

#include <OxPluginHost/OxPluginHost.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every entry of both versions takes a null handle. */
int checkNullHandles(const OxPluginHost* host);

/* Counts of handles from every kind of entry. */
int checkCounts(const OxPluginHost* host, const char* opFile);

/* Walks the scene through version 2. */
int checkVersion2(const OxPluginHost* host, const char* opFile, long locations);

/* `threads` threads walk the scene from one root handle at once, all of them retaining and
   releasing it meanwhile, and hand each other locations that they have found. */
int checkThreads(const OxPluginHost* host, const char* opFile, int threads, long locations);

/* A thread opens the scene and ends; others, which come and go, use the handles that it left. */
int checkThreadThatEnds(const OxPluginHost* host, const char* opFile, int threads, long locations);

#ifdef __cplusplus
}
#endif

#endif
