#ifndef TELLAR_TEST_CHECKSPLUGIN_H
#define TELLAR_TEST_CHECKSPLUGIN_H

/* The common part of plug-ins that check the library's suites. For the one source of a library. */

#include <stddef.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#define CHECK(condition)                                                                           \
    if (!(condition)) return __LINE__

static const OxPluginHost* host;

static int setHost(struct OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

typedef struct Suites {
    const OxScenegraphIteratorHostSuite_v3* iterators;
    const OxRenderOutputUtilsHostSuite_v3* utils;
    const OxAttributeSuite_v1* attributes;
} Suites;

static inline Suites getSuites(void) {
    Suites suites;
    suites.iterators = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    suites.utils = host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
    suites.attributes = host->getSuite("AttributeHost", 1);
    return suites;
}

#endif
