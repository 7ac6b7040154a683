// A plug-in that asks for the host itself, at every opportunity.
#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarSDK/OxPluginApi.h>

#include <chrono>
#include <thread>

#include "AskingGuestSuite.h"

namespace {

AskingGuestSuite suite;

const void* GetSuite() {
    return &suite;
}

int SetHost(OxPluginHost* host) {
    suite.hostGiven = host;
    suite.hostAskedForWhenGiven = OxGetPluginHost();
    return 0;
}

const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                  "asking guest",
                                  "TestAskingGuests",
                                  1,
                                  0,
                                  0,
                                  GetSuite,
                                  SetHost,
                                  nullptr};

} // namespace

unsigned int OxGetPluginCount() {
    // While the plug-in manager loads this library, another thread of the test asks for the host
    // for the first time. The wait makes it likely that it is in the middle of it just now; the
    // test holds without it.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    suite.hostAskedForWhenCounted = OxGetPluginHost();
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return &record;
}
