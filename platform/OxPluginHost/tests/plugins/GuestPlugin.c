/* A plug-in that uses its host as soon as it gets it. */
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "GuestSuite.h"

static OxPluginHost* currentHost = 0;
static OxAttributeStruct* attribute = 0;
static int givenCount = 0;

static OxPluginHost* host(void) {
    return currentHost;
}

static int timesGivenHost(void) {
    return givenCount;
}

static OxAttributeStruct* madeAttribute(void) {
    return attribute;
}

static const char* greeting(void) {
    return "good day";
}

static const GuestSuite guestSuite = {host, timesGivenHost, madeAttribute};
static const GreetingSuite greetingSuite = {greeting};

static const void* getSuite(void) {
    return &guestSuite;
}

static int setHost(OxPluginHost* newHost) {
    const int32_t values[] = {4, 2};
    const OxAttributeSuite_v1* attributes;
    currentHost = newHost;
    ++givenCount;
    if (!newHost) return 0;
    if (newHost->recordVersion != OX_PLUGIN_HOST_RECORD_VERSION) return 1;
    attributes = newHost->getSuite("AttributeHost", 1);
    if (!attributes) return 2;
    attributes->release(attribute);
    attribute = attributes->createInt(values, 2, 1);
    return newHost->registerSuite(&greetingSuite, "TestGuestGreeting", 3) == 0 ? 0 : 3;
}

static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "guest", "TestGuests", 1, 0, 0, getSuite, setHost, 0},
    {OX_PLUGIN_RECORD_VERSION, "silent guest", "TestGuests", 1, 0, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, "later guest", "TestGuests", 2, 0, 0, getSuite, 0, 0},
};

unsigned int OxGetPluginCount(void) {
    return 3;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
