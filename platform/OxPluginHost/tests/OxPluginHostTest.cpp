#include "OxPluginHostTest.h"

#include <atomic>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "ScopedEnvironment.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The process as a program sets it up: the plug-in path first, then the host, here in many
// threads at once.
struct FirstCalls {
    FirstCalls() {
        setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);
        suiteBefore = OxGetAttributeSuite();
        RunTogether(8, [this](int number) {
            hosts[number] = OxGetPluginHost();
            pluginNames[number] = hosts[number]->getPluginName("TestGuests", 1, 0);
        });
    }

    const OxAttributeSuite_v1* suiteBefore = nullptr;
    OxPluginHost* hosts[8] = {};
    const char* pluginNames[8] = {};
};

class OxPluginHostTest : public testing::Test {
protected:
    static const FirstCalls& firstCalls() {
        static const FirstCalls* const calls = new FirstCalls;
        return *calls;
    }

    const OxPluginHost& host = *firstCalls().hosts[0];
    // By default the logger's level is warn, whatever the environment says.
    OxPluginHostTest() { OxLoggingSetLevel("PluginHost", OxLogLevel::warn); }
};

TEST_F(OxPluginHostTest, IsTheSameForAllThreadsThatAskFirst) {
    EXPECT_THAT(firstCalls().hosts, testing::Each(OxGetPluginHost()));
    EXPECT_THAT(firstCalls().pluginNames, testing::Each(host.getPluginName("TestGuests", 1, 0)));
}

TEST_F(OxPluginHostTest, SaysWhatItIs) {
    EXPECT_EQ(host.recordVersion, 1u);
    EXPECT_STREQ(host.name, "OxPluginHost");
    EXPECT_STREQ(host.version, TELLAR_TEST_VERSION);
}

TEST_F(OxPluginHostTest, SetsUpAndRegistersTheAttributeSuite) {
    EXPECT_EQ(firstCalls().suiteBefore, nullptr);
    EXPECT_EQ(OxGetAttributeSuite(), OxGetBuiltInAttributeSuite());
    EXPECT_EQ(host.getSuite("AttributeHost", 1), OxGetBuiltInAttributeSuite());
    EXPECT_EQ(host.getSuite("AttributeHost", 4), OxGetBuiltInAttributeSuite4());
    EXPECT_EQ(host.getNewestSuiteVersion("AttributeHost"), 4u);
}

TEST_F(OxPluginHostTest, RegistersThroughItsEleventhMember) {
    EXPECT_EQ(checkEleventhMember(&host), 0);
}

TEST_F(OxPluginHostTest, TakesNullForEveryPointer) {
    const CapturedLog log;
    EXPECT_EQ(checkNullPointers(&host), 0);
    EXPECT_THAT(log.textsOf("TestGuestLog"), IsEmpty());
    EXPECT_THAT(log.textsOf(""), IsEmpty());
}

TEST_F(OxPluginHostTest, FindsSuitesByNameAndVersion) {
    const CapturedLog log;
    EXPECT_EQ(checkSuites(&host), 0);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(OxPluginHostTest, RefusesSuitesAndWarns) {
    const CapturedLog log;
    EXPECT_EQ(checkRefusedSuites(&host), 0);
    EXPECT_THAT(
        log.textsOf("PluginHost"),
        ElementsAre(
            "Suite \"TestRefused\" version 1 is not registered: its function table is null",
            "Suite \"\" version 1 is not registered: it has no name",
            "Suite \"\" version 1 is not registered: it has no name",
            "Suite \"TestRefused\" version 0 is not registered: versions begin with 1",
            "Suite \"TestRefused\" version 7 is not registered: another one has this name and "
            "version"));
    for (const OxLogMessage& message : log.messages())
        EXPECT_EQ(message.level, OxLogLevel::warn);
}

TEST_F(OxPluginHostTest, FindsPluginsOnThePluginPath) {
    EXPECT_EQ(checkPlugins(&host), 0);
}

TEST_F(OxPluginHostTest, IsGivenToAPluginThatUsesItAtOnce) {
    EXPECT_EQ(checkGuest(&host), 0);
}

TEST_F(OxPluginHostTest, GivesSettingsAsStringAttributes) {
    const ScopedEnvironment file("OX_CONFIG_FILE", std::nullopt);
    const ScopedEnvironment text("OX_CONFIG_TELLAR_TEST_TEXT", "a text");
    const ScopedEnvironment empty("OX_CONFIG_TELLAR_TEST_EMPTY", "");
    const ScopedEnvironment none("OX_CONFIG_TELLAR_TEST_NONE", std::nullopt);
    Config()->reload();
    EXPECT_EQ(checkConfiguration(&host), 0);
}

TEST_F(OxPluginHostTest, GivesSettingsAlsoWhenTheProcessHasTakenItsAttributeSuiteAway) {
    const ScopedEnvironment text("OX_CONFIG_TELLAR_TEST_TEXT", "a text");
    Config()->reload();
    OxSetAttributeSuite(nullptr);
    OxAttributeStruct* attribute = host.getConfiguration("TELLAR_TEST_TEXT");
    OxSetAttributeSuite(OxGetBuiltInAttributeSuite());
    EXPECT_STREQ(OxGetAttributeSuite()->getString(attribute, 0, 0), "a text");
    OxGetAttributeSuite()->release(attribute);
}

TEST_F(OxPluginHostTest, DeliversMessagesThatPassTheThreshold) {
    OxLoggingSetLevel("TestGuestLog", OxLogLevel::info);
    const CapturedLog log;
    EXPECT_EQ(checkLog(&host), 0);
    EXPECT_THAT(log.textsOf("TestGuestLog"), ElementsAre("an info", "a warning", "an error"));
    const auto messages = log.messages();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].level, OxLogLevel::info);
    EXPECT_EQ(messages[1].level, OxLogLevel::warn);
    EXPECT_EQ(messages[1].file, "guest.c");
    EXPECT_EQ(messages[1].line, 12);
    EXPECT_EQ(messages[2].level, OxLogLevel::error);
    EXPECT_EQ(messages[2].file, "");
}

TEST_F(OxPluginHostTest, DeliversDebugMessagesAndNothingWhenALoggerIsOff) {
    const CapturedLog log;
    OxLoggingSetLevel("TestGuestLog", OxLogLevel::debug);
    EXPECT_EQ(host.isLogged("TestGuestLog", kOxLogDebug), 1);
    host.log("TestGuestLog", kOxLogDebug, "a detail", nullptr, 0);
    OxLoggingSetLevel("TestGuestLog", OxLogLevel::off);
    EXPECT_EQ(host.isLogged("TestGuestLog", kOxLogError), 0);
    host.log("TestGuestLog", kOxLogError, "an error", nullptr, 0);
    EXPECT_THAT(log.textsOf("TestGuestLog"), ElementsAre("a detail"));
}

TEST_F(OxPluginHostTest, KeepsNoLoggerForANameThatIsOnlyAskedAbout) {
    OxLoggingSetLevel("", OxLogLevel::error);
    EXPECT_EQ(host.isLogged("TestNeverLogged", kOxLogWarn), 0);
    OxLoggingSetLevel("", OxLogLevel::warn);
    EXPECT_EQ(host.isLogged("TestNeverLogged", kOxLogWarn), 1);
}

TEST_F(OxPluginHostTest, RegistersAndAnswersInManyThreads) {
    static const int tables[8] = {};
    RunTogether(8, [this](int number) {
        const std::string name = "TestThread" + std::to_string(number);
        for (unsigned int version = 1; version <= 200; ++version) {
            EXPECT_EQ(host.registerSuite(&tables[number], name.c_str(), version), 0);
            EXPECT_EQ(host.getNewestSuiteVersion(name.c_str()), version);
            EXPECT_EQ(host.getSuite(name.c_str(), version), &tables[number]);
            EXPECT_STREQ(host.getPluginName("TestGuests", 1, 1), "silent guest");
        }
    });
}

TEST_F(OxPluginHostTest, KeepsTheFirstOfTheTablesThatManyThreadsRegister) {
    static const int tables[8] = {};
    const CapturedLog log;
    std::atomic<int> registered{0};
    std::atomic<int> refused{0};
    const void* found[8] = {};
    RunTogether(8, [&](int number) {
        const int status = host.registerSuite(&tables[number], "TestContested", 1);
        if (status == 0) ++registered;
        if (status == 2) ++refused;
        found[number] = host.getSuite("TestContested", 1);
    });
    EXPECT_EQ(registered, 1);
    EXPECT_EQ(refused, 7);
    EXPECT_THAT(found, testing::Each(host.getSuite("TestContested", 1)));
    EXPECT_THAT(log.textsOf("PluginHost"), testing::SizeIs(7));
}

} // namespace
