#include "NamedLogger.h"

#include <exception>
#include <limits>
#include <stdexcept>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "RunTogether.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

const NamedLogger kLogger("NamedLoggerTest");

/// Shows every level, or none, while it lives.
class ScopedLevel {
public:
    explicit ScopedLevel(OxLogLevel level) { OxLoggingSetLevel("NamedLoggerTest", level); }
    ~ScopedLevel() { OxLoggingSetLevel("NamedLoggerTest", OxLogLevel::warn); }
    ScopedLevel(const ScopedLevel&) = delete;
    ScopedLevel& operator=(const ScopedLevel&) = delete;
};

std::vector<std::string> Texts(const CapturedLog& log) {
    return log.textsOf("NamedLoggerTest");
}

void ReportForCaller(const std::string& what, LogPlace place = {}) {
    kLogger.error({"About {}", place}, what);
}

TEST(NamedLogger, PutsArgumentsInTheirPlacesInOrder) {
    const CapturedLog log;
    kLogger.warn("\"{}\" has version {}, not {}{}", std::string("a"), 2U, -3L, "!");
    EXPECT_THAT(Texts(log), ElementsAre("\"a\" has version 2, not -3!"));
}

TEST(NamedLogger, TakesBracesOfArgumentsAndOfPlainMessagesAsTheyAre) {
    const CapturedLog log;
    kLogger.warn("{} and {}", "{}", "b");
    kLogger.warn("{}");
    EXPECT_THAT(Texts(log), ElementsAre("{} and b", "{}"));
}

TEST(NamedLogger, TakesANullTextForAnEmptyOne) {
    const CapturedLog log;
    kLogger.warn("<{}>", static_cast<const char*>(nullptr));
    EXPECT_THAT(Texts(log), ElementsAre("<>"));
}

class SilentException : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

TEST(NamedLogger, TakesAnExceptionForItsText) {
    const CapturedLog log;
    kLogger.warn("<{}>", std::runtime_error("It fails."));
    kLogger.warn("<{}>", SilentException());
    EXPECT_THAT(Texts(log), ElementsAre("<It fails.>", "<an exception without a text>"));
}

TEST(NamedLogger, NamesTheLevelOfEachFunction) {
    const ScopedLevel level(OxLogLevel::debug);
    const CapturedLog log;
    kLogger.debug("d");
    kLogger.info("i");
    kLogger.warn("w");
    kLogger.error("e");
    std::vector<OxLogLevel> levels;
    for (const OxLogMessage& message : log.messages())
        levels.push_back(message.level);
    EXPECT_THAT(levels, ElementsAre(OxLogLevel::debug, OxLogLevel::info, OxLogLevel::warn,
                                    OxLogLevel::error));
}

TEST(NamedLogger, KeepsWhatItsLevelDoesNotLetThrough) {
    const ScopedLevel level(OxLogLevel::error);
    const CapturedLog log;
    kLogger.warn("w");
    kLogger.error("e");
    EXPECT_THAT(Texts(log), ElementsAre("e"));
}

TEST(NamedLogger, TellsThePlaceOfTheCall) {
    const CapturedLog log;
    kLogger.error("{}", 1);
    const int line = __LINE__ - 1;
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_THAT(log.messages()[0].file, EndsWith("NamedLoggerTest.cpp"));
    EXPECT_EQ(log.messages()[0].line, line);
}

TEST(NamedLogger, TellsThePlaceOfTheCallerOfAFunctionThatLogsForIt) {
    const CapturedLog log;
    ReportForCaller("it");
    const int line = __LINE__ - 1;
    EXPECT_THAT(Texts(log), ElementsAre("About it"));
    ASSERT_EQ(log.messages().size(), 1u);
    EXPECT_EQ(log.messages()[0].line, line);
}

TEST(NamedLogger, DropsAMessageThatIsTooLong) {
    const CapturedLog log;
    // Hidden from the compiler, which would refuse the copy that is never made.
    volatile std::size_t length = std::numeric_limits<std::size_t>::max();
    kLogger.error("{}", std::string_view("x", length));
    EXPECT_THAT(Texts(log), ElementsAre());
}

TEST(NamedLogger, IsMadeOnceByThreadsThatLogTogether) {
    static const NamedLogger logger("NamedLoggerTestTogether");
    const CapturedLog log;
    RunTogether(4, [&](int) { logger.error("one"); });
    EXPECT_THAT(log.textsOf("NamedLoggerTestTogether"), ElementsAre("one", "one", "one", "one"));
}

} // namespace
