#include <OxLoggingHost/OxLoggerGlue.h>

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "RunTogether.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Each test uses loggers of its own; the default level and the sink are put back.
class OxLoggerGlueTest : public testing::Test {
protected:
    // Before the first logger reads it: what the developer has set must not matter here.
    static void SetUpTestSuite() { unsetenv("OX_LOG_LEVEL"); }
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    void TearDown() override {
        OxLoggingSetSink(nullptr);
        OxLoggingSetLevel("", OxLogLevel::warn);
    }
};

TEST_F(OxLoggerGlueTest, LetsWarningsAndErrorsThroughByDefault) {
    const OxLoggerGlue logger("Default");
    EXPECT_FALSE(logger.debugEnabled());
    EXPECT_FALSE(logger.infoEnabled());
    EXPECT_TRUE(logger.warnEnabled());
    EXPECT_TRUE(logger.errorEnabled());
}

TEST_F(OxLoggerGlueTest, HandsTheSinkEveryPartOfAMessage) {
    const OxLoggerGlue logger("Parts");
    const CapturedLog log;
    logger.error("cannot open", "src/Parts.cpp", 12);
    ASSERT_THAT(log.messages(), SizeIs(1));
    const OxLogMessage message = log.messages().front();
    EXPECT_EQ(message.loggerName, "Parts");
    EXPECT_EQ(message.level, OxLogLevel::error);
    EXPECT_EQ(message.text, "cannot open");
    EXPECT_EQ(message.file, "src/Parts.cpp");
    EXPECT_EQ(message.line, 12);
}

TEST_F(OxLoggerGlueTest, DropsWhatIsBelowTheThresholdOfEachLevel) {
    const OxLoggerGlue logger("Thresholds");
    const auto deliveredAt = [&logger](OxLogLevel level) {
        OxLoggingSetLevel("Thresholds", level);
        const CapturedLog log;
        logger.debug("d", nullptr, 0);
        logger.info("i", nullptr, 0);
        logger.warn("w", nullptr, 0);
        logger.error("e", nullptr, 0);
        return log.textsOf("Thresholds");
    };
    EXPECT_THAT(deliveredAt(OxLogLevel::debug), ElementsAre("d", "i", "w", "e"));
    EXPECT_THAT(deliveredAt(OxLogLevel::info), ElementsAre("i", "w", "e"));
    EXPECT_THAT(deliveredAt(OxLogLevel::warn), ElementsAre("w", "e"));
    EXPECT_THAT(deliveredAt(OxLogLevel::error), ElementsAre("e"));
    EXPECT_THAT(deliveredAt(OxLogLevel::off), IsEmpty());
}

TEST_F(OxLoggerGlueTest, SharesTheThresholdBetweenLoggersOfOneName) {
    const OxLoggerGlue first("Shared");
    const OxLoggerGlue second("Shared");
    OxLoggingSetLevel("Shared", OxLogLevel::debug);
    EXPECT_TRUE(first.debugEnabled());
    EXPECT_TRUE(second.debugEnabled());
}

TEST_F(OxLoggerGlueTest, RemembersTheLevelOfALoggerThatDoesNotExistYet) {
    OxLoggingSetLevel("MadeLater", OxLogLevel::info);
    EXPECT_TRUE(OxLoggerGlue("MadeLater").infoEnabled());
}

TEST_F(OxLoggerGlueTest, AppliesTheDefaultToAllLoggersWithoutALevelOfTheirOwn) {
    const OxLoggerGlue follower("Follower");
    const OxLoggerGlue independent("Independent");
    OxLoggingSetLevel("Independent", OxLogLevel::error);
    OxLoggingSetLevel("", OxLogLevel::debug);
    EXPECT_TRUE(follower.debugEnabled());
    EXPECT_FALSE(independent.warnEnabled());
    EXPECT_TRUE(OxLoggerGlue("MadeAfterTheDefault").debugEnabled());
}

TEST_F(OxLoggerGlueTest, TellsTheLevelThatALoggerHasOrWouldHave) {
    OxLoggingSetLevel("Told", OxLogLevel::error);
    EXPECT_EQ(OxLoggingGetLevel("Told"), OxLogLevel::error);
    EXPECT_EQ(OxLoggingGetLevel("NeverMade"), OxLogLevel::warn);
    EXPECT_EQ(OxLoggingGetLevel(""), OxLogLevel::warn);
}

TEST_F(OxLoggerGlueTest, WritesOneLineWithTheBaseNameOfTheFileToStandardError) {
    testing::internal::CaptureStderr();
    OxLoggerGlue("ClientFactory").error("text", "/some/where/ClientFactory.cpp", 123);
    OxLoggerGlue("ClientFactory").warn("more", "some\\where\\ClientFactory.cpp", 4);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[error] ClientFactory: text (ClientFactory.cpp:123)\n"
              "[warn] ClientFactory: more (ClientFactory.cpp:4)\n");
}

TEST_F(OxLoggerGlueTest, LeavesThePlaceOutWhenTheFileIsUnknown) {
    testing::internal::CaptureStderr();
    OxLoggerGlue("Placeless").error("text", nullptr, 7);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[error] Placeless: text\n");
}

TEST_F(OxLoggerGlueTest, KeepsAMessageWithControlCharactersOnOneLine) {
    testing::internal::CaptureStderr();
    OxLoggerGlue("Lines").error("one\ntwo\r\tthree\x1B[31m {} %s", "a.cpp", 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[error] Lines: one\\ntwo\\r\tthree\\x1B[31m {} %s (a.cpp:1)\n");
}

TEST_F(OxLoggerGlueTest, ReturnsThePreviousSinkAndRestoresTheDefaultForNull) {
    int calls = 0;
    EXPECT_FALSE(OxLoggingSetSink([&calls](const OxLogMessage&) { ++calls; }));
    const OxLogSink previous = OxLoggingSetSink(nullptr);
    ASSERT_TRUE(previous);
    previous({});
    EXPECT_EQ(calls, 1);

    testing::internal::CaptureStderr();
    OxLoggerGlue("Restored").error("text", nullptr, 0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[error] Restored: text\n");
}

TEST_F(OxLoggerGlueTest, SendsWhatASinkLogsToStandardError) {
    const OxLoggerGlue inner("Inner");
    OxLoggingSetSink([&inner](const OxLogMessage&) { inner.error("from the sink", nullptr, 0); });
    testing::internal::CaptureStderr();
    OxLoggerGlue("Outer").error("text", nullptr, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[error] Inner: from the sink\n");
}

TEST_F(OxLoggerGlueTest, WritesAMessageToStandardErrorWhenTheSinkThrows) {
    OxLoggingSetSink([](const OxLogMessage&) { throw std::runtime_error("sink"); });
    testing::internal::CaptureStderr();
    OxLoggerGlue("Thrown").error("text", nullptr, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[error] Thrown: text\n");
}

TEST_F(OxLoggerGlueTest, LosesNothingWhileThreadsLogAndChangeLevels) {
    const CapturedLog log;
    RunTogether(8, [](int number) {
        for (int i = 0; i < 500; ++i) {
            OxLoggerGlue("Threads" + std::to_string(i % 10)).error("text", "a.cpp", i);
            OxLoggingSetLevel("Changing", i % 2 ? OxLogLevel::debug : OxLogLevel::error);
            OxLoggingSetLevel("", number % 2 ? OxLogLevel::info : OxLogLevel::error);
        }
    });
    EXPECT_THAT(log.messages(), SizeIs(8 * 500));
}

TEST_F(OxLoggerGlueTest, HandsEveryMessageToOneSinkWhileSinksAreReplaced) {
    std::atomic<int> first{0};
    std::atomic<int> second{0};
    OxLoggingSetSink([&first](const OxLogMessage&) { ++first; });
    const OxLoggerGlue logger("Replaced");
    RunTogether(8, [&](int) {
        for (int i = 0; i < 200; ++i) {
            logger.error("text", nullptr, 0);
            OxLoggingSetSink([&second](const OxLogMessage&) { ++second; });
        }
    });
    EXPECT_EQ(first + second, 8 * 200);
    EXPECT_GT(second, 0);
}

// OX_LOG_LEVEL is read once for each process, so these run in a process of their own.
using OxLoggerGlueDeathTest = OxLoggerGlueTest;

[[noreturn]] void LogWithLevels(const char* levels) {
    setenv("OX_LOG_LEVEL", levels, 1);
    const OxLoggerGlue factory("ClientFactory");
    const OxLoggerGlue other("Other");
    factory.debug("from the factory", nullptr, 0);
    other.warn("from another", nullptr, 0);
    other.error("an error", nullptr, 0);
    std::exit(0);
}

TEST_F(OxLoggerGlueDeathTest, TakesTheFirstLevelsFromTheEnvironment) {
    EXPECT_EXIT(LogWithLevels("error,ClientFactory=debug"), testing::ExitedWithCode(0),
                "^\\[debug\\] ClientFactory: from the factory\n\\[error\\] Other: an error\n$");
}

TEST_F(OxLoggerGlueDeathTest, ReportsEachMalformedEntryOnceWhateverTheThreshold) {
    EXPECT_EXIT(LogWithLevels("off,ClientFactory=loud,=info"), testing::ExitedWithCode(0),
                "^\\[warn\\] OxLoggingHost: OX_LOG_LEVEL has the malformed entry "
                "\"ClientFactory=loud\": levels are debug, info, warn, error and off "
                "\\(OxLoggerGlue.cpp:[0-9]+\\)\n"
                "\\[warn\\] OxLoggingHost: OX_LOG_LEVEL has the malformed entry "
                "\"=info\": levels are debug, info, warn, error and off "
                "\\(OxLoggerGlue.cpp:[0-9]+\\)\n$");
}

[[noreturn]] void CountReportsInASinkSetFirst() {
    setenv("OX_LOG_LEVEL", "nonsense", 1);
    const CapturedLog log;
    const OxLoggerGlue logger("Any");
    std::exit(static_cast<int>(log.textsOf("OxLoggingHost").size()));
}

TEST_F(OxLoggerGlueDeathTest, ReportsMalformedEntriesToASinkThatWasSetFirst) {
    EXPECT_EXIT(CountReportsInASinkSetFirst(), testing::ExitedWithCode(1), "^$");
}

} // namespace
