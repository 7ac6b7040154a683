#ifndef OXPLUGINHOST_TESTS_ASKINGGUESTSUITE_H
#define OXPLUGINHOST_TESTS_ASKINGGUESTSUITE_H

#include <OxPluginHost/OxPluginHost.h>

/// The answers that the plug-in "asking guest" of the API "TestAskingGuests", version 1, got.
struct AskingGuestSuite {
    OxPluginHost* hostGiven = nullptr;
    OxPluginHost* hostAskedForWhenGiven = nullptr;
    OxPluginHost* hostAskedForWhenCounted = nullptr;
};

#endif
