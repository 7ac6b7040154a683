#include "OxPluginHostTest.h"

#include <string.h>

#include <OxTellarSDK/AttributeSuite.h>

#include "plugins/GuestSuite.h"

#define CHECK(condition)                                                                           \
    if (!(condition)) return __LINE__

static const int firstTable = 1;
static const int secondTable = 2;

typedef int (*RegisterSuite)(const void*, const char*, unsigned int);

int checkEleventhMember(const OxPluginHost* host) {
    RegisterSuite members[11];
    CHECK(sizeof(members) == sizeof(*host));
    memcpy(members, host, sizeof(members));
    CHECK(members[10] == host->registerSuite);
    CHECK(members[10](&firstTable, "TestEleventh", 1) == 0);
    CHECK(host->getSuite("TestEleventh", 1) == &firstTable);
    return 0;
}

int checkNullPointers(const OxPluginHost* host) {
    CHECK(host->getSuite(NULL, 1) == NULL);
    CHECK(host->getNewestSuiteVersion(NULL) == 0);
    CHECK(host->getPluginName(NULL, 1, 0) == NULL);
    CHECK(host->getPluginSuite(NULL, "TestGuests", 1) == NULL);
    CHECK(host->getPluginSuite("guest", NULL, 1) == NULL);
    CHECK(host->getPluginSuite(NULL, NULL, 1) == NULL);
    CHECK(host->getConfiguration(NULL) == NULL);
    CHECK(host->isLogged(NULL, kOxLogError) == 0);
    host->log(NULL, kOxLogError, "a message without a logger", __FILE__, __LINE__);
    host->log("TestGuestLog", kOxLogError, NULL, __FILE__, __LINE__);
    host->log(NULL, kOxLogError, NULL, NULL, 0);
    CHECK(host->registerSuite(NULL, NULL, 0) == 1);
    return 0;
}

int checkSuites(const OxPluginHost* host) {
    CHECK(host->getNewestSuiteVersion("TestSuites") == 0);
    CHECK(host->getSuite("TestSuites", 1) == NULL);
    CHECK(host->registerSuite(&firstTable, "TestSuites", 2) == 0);
    CHECK(host->registerSuite(&secondTable, "TestSuites", 1) == 0);
    CHECK(host->getSuite("TestSuites", 2) == &firstTable);
    CHECK(host->getSuite("TestSuites", 1) == &secondTable);
    CHECK(host->getSuite("TestSuites", 3) == NULL);
    CHECK(host->getSuite("TestSuites", 0) == NULL);
    CHECK(host->getSuite("TestSuite", 1) == NULL);
    CHECK(host->getSuite("", 1) == NULL);
    CHECK(host->getNewestSuiteVersion("TestSuites") == 2);
    CHECK(host->getNewestSuiteVersion("TestSuite") == 0);
    CHECK(host->registerSuite(&secondTable, "TestSuites", 0xFFFFFFFFu) == 0);
    CHECK(host->getNewestSuiteVersion("TestSuites") == 0xFFFFFFFFu);
    CHECK(host->registerSuite(&firstTable, "TestSuites", 2) == 0);
    return 0;
}

int checkRefusedSuites(const OxPluginHost* host) {
    CHECK(host->registerSuite(NULL, "TestRefused", 1) == 1);
    CHECK(host->registerSuite(&firstTable, NULL, 1) == 1);
    CHECK(host->registerSuite(&firstTable, "", 1) == 1);
    CHECK(host->registerSuite(&firstTable, "TestRefused", 0) == 1);
    CHECK(host->getNewestSuiteVersion("TestRefused") == 0);
    CHECK(host->registerSuite(&firstTable, "TestRefused", 7) == 0);
    CHECK(host->registerSuite(&secondTable, "TestRefused", 7) == 2);
    CHECK(host->getSuite("TestRefused", 7) == &firstTable);
    return 0;
}

int checkPlugins(const OxPluginHost* host) {
    const char* name = host->getPluginName("TestGuests", 1, 0);
    CHECK(name && strcmp(name, "guest") == 0);
    CHECK(host->getPluginName("TestGuests", 1, 0) == name);
    CHECK(strcmp(host->getPluginName("TestGuests", 1, 1), "silent guest") == 0);
    CHECK(host->getPluginName("TestGuests", 1, 2) == NULL);
    CHECK(host->getPluginName("TestGuests", 1, 0xFFFFFFFFu) == NULL);
    CHECK(strcmp(host->getPluginName("TestGuests", 2, 0), "later guest") == 0);
    CHECK(host->getPluginName("TestGuests", 3, 0) == NULL);
    CHECK(host->getPluginName("TestNobody", 1, 0) == NULL);
    CHECK(host->getPluginSuite("guest", "TestGuests", 1) != NULL);
    CHECK(host->getPluginSuite("guest", "TestGuests", 2) == NULL);
    CHECK(host->getPluginSuite("nobody", "TestGuests", 1) == NULL);
    return 0;
}

int checkGuest(const OxPluginHost* host) {
    const GuestSuite* guest = host->getPluginSuite("guest", "TestGuests", 1);
    const GreetingSuite* greeting = host->getSuite("TestGuestGreeting", 3);
    const OxAttributeSuite_v1* attributes = host->getSuite("AttributeHost", 1);
    const int32_t* values;
    int64_t count = 0;
    CHECK(guest && greeting && attributes);
    CHECK(guest->host() == host);
    CHECK(guest->timesGivenHost() >= 1);
    values = attributes->getIntSample(guest->madeAttribute(), 0, &count);
    CHECK(count == 2 && values[0] == 4 && values[1] == 2);
    CHECK(strcmp(greeting->greeting(), "good day") == 0);
    return 0;
}

int checkConfiguration(const OxPluginHost* host) {
    const OxAttributeSuite_v1* attributes = host->getSuite("AttributeHost", 1);
    OxAttributeStruct* text = host->getConfiguration("TELLAR_TEST_TEXT");
    OxAttributeStruct* empty = host->getConfiguration("TELLAR_TEST_EMPTY");
    CHECK(attributes->getType(text) == kAttributeTypeString);
    CHECK(attributes->getNumberOfValues(text) == 1);
    CHECK(strcmp(attributes->getString(text, 0, 0), "a text") == 0);
    CHECK(attributes->getNumberOfValues(empty) == 1);
    CHECK(strcmp(attributes->getString(empty, 0, 0), "") == 0);
    CHECK(host->getConfiguration("TELLAR_TEST_NONE") == NULL);
    attributes->release(text);
    attributes->release(empty);
    return 0;
}

int checkLog(const OxPluginHost* host) {
    CHECK(host->isLogged("TestGuestLog", kOxLogDebug) == 0);
    CHECK(host->isLogged("TestGuestLog", kOxLogInfo) == 1);
    CHECK(host->isLogged("TestGuestLog", kOxLogWarn) == 1);
    CHECK(host->isLogged("TestGuestLog", kOxLogError) == 1);
    CHECK(host->isLogged("TestGuestLog", 4) == 0);
    CHECK(host->isLogged("TestGuestLog", -1) == 0);
    host->log("TestGuestLog", kOxLogDebug, "below the threshold", "guest.c", 10);
    host->log("TestGuestLog", kOxLogInfo, "an info", "guest.c", 11);
    host->log("TestGuestLog", kOxLogWarn, "a warning", "guest.c", 12);
    host->log("TestGuestLog", kOxLogError, "an error", NULL, 13);
    host->log("TestGuestLog", 4, "no level", "guest.c", 14);
    host->log("TestGuestLog", -1, "no level", "guest.c", 15);
    return 0;
}
