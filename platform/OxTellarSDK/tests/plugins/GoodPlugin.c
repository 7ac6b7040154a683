/* Four plug-ins that behave: three of the API "TestShapes", one of "TestColors". */
#include "TestShapesSuite.h"

static int flushes = 0;
static int hostChanges = 0;
static struct OxPluginHost* host = 0;

/* Any thread may flush, ask or set the host: atomics, which C99 itself does not have. */
static int libraryNumber(void) {
    return TEST_LIBRARY_NUMBER;
}
static int flushCount(void) {
    return __atomic_load_n(&flushes, __ATOMIC_SEQ_CST);
}
static int setHostCount(void) {
    return __atomic_load_n(&hostChanges, __ATOMIC_SEQ_CST);
}
static struct OxPluginHost* lastHost(void) {
    return __atomic_load_n(&host, __ATOMIC_SEQ_CST);
}

static const TestShapesSuite suite = {libraryNumber, flushCount, setHostCount, lastHost};

static const void* getSuite(void) {
    return &suite;
}

static int setHost(struct OxPluginHost* newHost) {
    __atomic_store_n(&host, newHost, __ATOMIC_SEQ_CST);
    __atomic_add_fetch(&hostChanges, 1, __ATOMIC_SEQ_CST);
    return 0;
}

static void flush(void) {
    __atomic_add_fetch(&flushes, 1, __ATOMIC_SEQ_CST);
}

static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "sphere", "TestShapes", 2, 1, 0, getSuite, setHost, flush},
    {OX_PLUGIN_RECORD_VERSION, "sphere", "TestShapes", 1, 1, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, "cube", "TestShapes", 1, 1, 5, getSuite, 0, flush},
    {OX_PLUGIN_RECORD_VERSION, "red", "TestColors", 1, 0, 0, getSuite, 0, flush},
};

unsigned int OxGetPluginCount(void) {
    return sizeof(records) / sizeof(records[0]);
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
