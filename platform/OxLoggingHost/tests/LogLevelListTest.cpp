#include "LogLevelList.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(LogLevelList, SaysWarnForEverythingWhenTheTextIsEmpty) {
    const LogLevelList list = ParseLogLevelList("");
    EXPECT_EQ(list.defaultLevel, OxLogLevel::warn);
    EXPECT_THAT(list.loggerLevels, IsEmpty());
    EXPECT_THAT(list.malformedEntries, IsEmpty());
}

TEST(LogLevelList, ReadsADefaultAndLevelsOfSingleLoggers) {
    const LogLevelList list = ParseLogLevelList("info,ClientFactory=debug,Runtime=off");
    EXPECT_EQ(list.defaultLevel, OxLogLevel::info);
    EXPECT_THAT(list.loggerLevels, ElementsAre(Pair("ClientFactory", OxLogLevel::debug),
                                               Pair("Runtime", OxLogLevel::off)));
    EXPECT_THAT(list.malformedEntries, IsEmpty());
}

TEST(LogLevelList, IgnoresBlanksTheCaseOfLevelsAndEmptyEntries) {
    const LogLevelList list = ParseLogLevelList(" ERROR ,, ClientFactory = Debug\t,");
    EXPECT_EQ(list.defaultLevel, OxLogLevel::error);
    EXPECT_THAT(list.loggerLevels, ElementsAre(Pair("ClientFactory", OxLogLevel::debug)));
    EXPECT_THAT(list.malformedEntries, IsEmpty());
}

TEST(LogLevelList, LetsTheLastEntryWin) {
    const LogLevelList list = ParseLogLevelList("A=debug,info,A=error,off");
    EXPECT_EQ(list.defaultLevel, OxLogLevel::off);
    EXPECT_THAT(list.loggerLevels, ElementsAre(Pair("A", OxLogLevel::error)));
}

TEST(LogLevelList, KeepsMalformedEntriesAsWrittenAndReadsTheOthers) {
    const LogLevelList list = ParseLogLevelList("loud, =info,A=,B=b=debug,warning,C=error");
    EXPECT_EQ(list.defaultLevel, OxLogLevel::warn);
    EXPECT_THAT(list.loggerLevels, ElementsAre(Pair("C", OxLogLevel::error)));
    EXPECT_THAT(list.malformedEntries, ElementsAre("loud", "=info", "A=", "B=b=debug", "warning"));
}

TEST(LogLevelList, NamesEveryLevel) {
    EXPECT_STREQ(LogLevelName(OxLogLevel::debug), "debug");
    EXPECT_STREQ(LogLevelName(OxLogLevel::info), "info");
    EXPECT_STREQ(LogLevelName(OxLogLevel::warn), "warn");
    EXPECT_STREQ(LogLevelName(OxLogLevel::error), "error");
    EXPECT_STREQ(LogLevelName(OxLogLevel::off), "off");
}

} // namespace
