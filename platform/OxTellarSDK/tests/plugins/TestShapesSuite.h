#ifndef TELLAR_TEST_TESTSHAPESSUITE_H
#define TELLAR_TEST_TESTSHAPESSUITE_H

#include <OxTellarSDK/OxPluginApi.h>

/* Suite "TestShapes" of the test plug-ins: shows what happened to a plug-in. */
typedef struct TestShapesSuite {
    /* Tells the library from others: TEST_LIBRARY_NUMBER when it was compiled. */
    int (*libraryNumber)(void);
    /* How often a plug-in of the library was flushed. */
    int (*flushCount)(void);
    /* How often a plug-in of the library was given a host, and the last one. */
    int (*setHostCount)(void);
    struct OxPluginHost* (*lastHost)(void);
} TestShapesSuite;

#endif
