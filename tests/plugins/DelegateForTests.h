#ifndef TELLAR_TEST_DELEGATEFORTESTS_H
#define TELLAR_TEST_DELEGATEFORTESTS_H

/* The common part of the delegate plug-ins of the tests. C99; for the one source of a library. */

#include <stddef.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "DelegateCalls.h"

static const OxPluginHost* delegateHost;
static DelegateCalls delegateCalls;

/* The one instance of all delegates of the library. */
static inline OxLocationDelegateInstance createDelegate(void) {
    ++delegateCalls.created;
    return &delegateCalls;
}

static inline void destroyDelegate(OxLocationDelegateInstance instance) {
    (void)instance;
    ++delegateCalls.destroyed;
}

/* For delegates that leave every location as it is. */
static inline OxAttributeStruct* noReplacement(OxLocationDelegateInstance instance,
                                               OxSgIteratorStruct* location) {
    (void)instance;
    (void)location;
    return NULL;
}

static inline OxAttributeStruct* noAttribute(OxLocationDelegateInstance instance) {
    (void)instance;
    return NULL;
}

static inline const OxAttributeSuite_v1* attributeSuite(void) {
    const void* suite = delegateHost->getSuite("AttributeHost", 1);
#ifdef __cplusplus
    return static_cast<const OxAttributeSuite_v1*>(suite);
#else
    return suite;
#endif
}

/* Null for an instance that is none of createDelegate(). */
static inline OxAttributeStruct* textsOf(OxLocationDelegateInstance instance,
                                         const char* const* texts, int count) {
    if (instance != &delegateCalls) return NULL;
    return attributeSuite()->createString(texts, count, 1);
}

static inline OxAttributeStruct* textOf(OxLocationDelegateInstance instance, const char* text) {
    return textsOf(instance, &text, 1);
}

static inline OxAttributeStruct* numberAttribute(OxLocationDelegateInstance instance) {
    const int32_t number = 7;
    (void)instance;
    return attributeSuite()->createInt(&number, 1, 1);
}

static inline OxAttributeStruct* nullAttribute(OxLocationDelegateInstance instance) {
    (void)instance;
    return attributeSuite()->createNull();
}

/* For the records' setHost; registers the calls under this name. */
static inline int setDelegateHost(struct OxPluginHost* host, const char* nameOfCalls) {
    delegateHost = host;
    return host ? host->registerSuite(&delegateCalls, nameOfCalls, 1) : 0;
}

#endif
