#include <OxPluginHost/OxPluginHost.h>

#include <cstdlib>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/PluginManager.h>

#include "RunTogether.h"
#include "plugins/AskingGuestSuite.h"

namespace {

using OxPluginManager::PluginManager;

// The first thing that this process does, once: half of the threads load plug-ins, one of which
// asks for the host meanwhile, and the others ask for the host themselves. The attribute suite is
// the process's own.
struct FirstCalls {
    FirstCalls() : ownSuite(*OxGetBuiltInAttributeSuite()) {
        setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
        OxSetAttributeSuite(&ownSuite);
        RunTogether(8, [this](int number) {
            if (number % 2) {
                hosts[number] = OxGetPluginHost();
            } else {
                PluginManager::getPlugin("asking guest", "TestAskingGuests", 1);
                hosts[number] = OxGetPluginHost();
            }
        });
    }

    const OxAttributeSuite_v1 ownSuite;
    OxPluginHost* hosts[8] = {};
};

class OxGetPluginHostWhileLoading : public testing::Test {
protected:
    static const FirstCalls& firstCalls() {
        static const FirstCalls* const calls = new FirstCalls;
        return *calls;
    }
    void SetUp() override { firstCalls(); }
};

TEST_F(OxGetPluginHostWhileLoading, GivesAllThreadsTheSameHost) {
    ASSERT_NE(OxGetPluginHost(), nullptr);
    EXPECT_THAT(firstCalls().hosts, testing::Each(OxGetPluginHost()));
}

TEST_F(OxGetPluginHostWhileLoading, AnswersAPluginThatIsBeingLoadedOrGivenTheHost) {
    const auto* suite = static_cast<const AskingGuestSuite*>(PluginManager::getPluginSuite(
        PluginManager::getPlugin("asking guest", "TestAskingGuests", 1)));
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->hostAskedForWhenCounted, OxGetPluginHost());
    EXPECT_EQ(suite->hostGiven, OxGetPluginHost());
    EXPECT_EQ(suite->hostAskedForWhenGiven, OxGetPluginHost());
}

TEST_F(OxGetPluginHostWhileLoading, KeepsAndRegistersTheAttributeSuiteThatTheProcessHas) {
    const OxAttributeSuite_v1* ownSuite = &firstCalls().ownSuite;
    EXPECT_EQ(OxGetAttributeSuite(), ownSuite);
    EXPECT_EQ(OxGetPluginHost()->getSuite("AttributeHost", 1), ownSuite);
}

} // namespace
