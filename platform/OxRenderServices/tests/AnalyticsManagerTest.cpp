#include <OxRenderServices/AnalyticsManager.h>

#include <cstdlib>
#include <limits>
#include <set>
#include <sstream>
#include <string>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "TempDirectory.h"

namespace {

using OxRenderServices::AnalyticsManager;
using testing::ElementsAre;
using testing::IsEmpty;

class AnalyticsManagerTest : public testing::Test {
protected:
    void SetUp() override { AnalyticsManager::disable(); }
    void TearDown() override { AnalyticsManager::disable(); }

    const TempDirectory folder;
};

TEST_F(AnalyticsManagerTest, IsNullUnlessEnabled) {
    EXPECT_EQ(AnalyticsManager::getInstance(), nullptr);
    AnalyticsManager* const enabled = AnalyticsManager::enable(folder.path("a.jsonl"));
    ASSERT_NE(enabled, nullptr);
    EXPECT_EQ(AnalyticsManager::getInstance(), enabled);
    AnalyticsManager::disable();
    EXPECT_EQ(AnalyticsManager::getInstance(), nullptr);
}

TEST_F(AnalyticsManagerTest, AppendsOneLineOfJsonForEachRecord) {
    folder.write("a.jsonl", "already there\n");
    AnalyticsManager* const manager = AnalyticsManager::enable(folder.path("a.jsonl"));
    ASSERT_NE(manager, nullptr);
    rapidjson::Document document;
    document.Parse(R"({"count": 3, "times": [0.5, null], "text": "two\nlines \u00e9"})");
    manager->addRecord("render \"one\"\n", document);
    manager->addRecord("", rapidjson::Value(true));
    EXPECT_EQ(folder.read("a.jsonl"), "already there\n"
                                      "{\"name\":\"render \\\"one\\\"\\n\",\"value\":{\"count\":3,"
                                      "\"times\":[0.5,null],\"text\":\"two\\nlines \xC3\xA9\"}}\n"
                                      "{\"name\":\"\",\"value\":true}\n");
}

TEST_F(AnalyticsManagerTest, DropsTheRecordsOfAPointerKeptWhileDisabled) {
    AnalyticsManager* const manager = AnalyticsManager::enable(folder.path("a.jsonl"));
    ASSERT_NE(manager, nullptr);
    AnalyticsManager::disable();
    manager->addRecord("dropped", rapidjson::Value(1));
    EXPECT_EQ(folder.read("a.jsonl"), "");
}

TEST_F(AnalyticsManagerTest, GoesOnInAnotherFileWhenEnabledAgain) {
    ASSERT_NE(AnalyticsManager::enable(folder.path("a.jsonl")), nullptr);
    AnalyticsManager::getInstance()->addRecord("first", rapidjson::Value(1));
    ASSERT_NE(AnalyticsManager::enable(folder.path("b.jsonl")), nullptr);
    AnalyticsManager::getInstance()->addRecord("second", rapidjson::Value(2));
    EXPECT_EQ(folder.read("a.jsonl"), "{\"name\":\"first\",\"value\":1}\n");
    EXPECT_EQ(folder.read("b.jsonl"), "{\"name\":\"second\",\"value\":2}\n");
}

TEST_F(AnalyticsManagerTest, LogsOneErrorForAFileThatCannotBeOpened) {
    const std::string path = folder.path("no such folder/a.jsonl");
    const CapturedLog log;
    EXPECT_EQ(AnalyticsManager::enable(path), nullptr);
    EXPECT_EQ(AnalyticsManager::getInstance(), nullptr);
    EXPECT_THAT(
        log.textsOf("AnalyticsManager"),
        ElementsAre("Cannot open the analytics file \"" + path + "\": No such file or directory"));
}

TEST_F(AnalyticsManagerTest, LogsOneErrorForAFileThatCannotBeWrittenAndStops) {
    AnalyticsManager* const manager = AnalyticsManager::enable("/dev/full");
    ASSERT_NE(manager, nullptr);
    const CapturedLog log;
    manager->addRecord("first", rapidjson::Value(1));
    manager->addRecord("second", rapidjson::Value(2));
    EXPECT_EQ(AnalyticsManager::getInstance(), nullptr);
    EXPECT_THAT(log.textsOf("AnalyticsManager"),
                ElementsAre("Cannot write the analytics file \"/dev/full\": "
                            "No space left on device"));
}

TEST_F(AnalyticsManagerTest, LeavesOutWhatJsonCannotExpress) {
    AnalyticsManager* const manager = AnalyticsManager::enable(folder.path("a.jsonl"));
    ASSERT_NE(manager, nullptr);
    const CapturedLog log;
    manager->addRecord("infinite", rapidjson::Value(std::numeric_limits<double>::infinity()));
    manager->addRecord("text", rapidjson::Value("\xFF"));
    manager->addRecord("good", rapidjson::Value(1));
    EXPECT_EQ(folder.read("a.jsonl"), "{\"name\":\"good\",\"value\":1}\n");
    EXPECT_THAT(log.textsOf("AnalyticsManager"),
                ElementsAre("The analytics record \"infinite\" cannot be written as JSON",
                            "The analytics record \"text\" cannot be written as JSON"));
}

TEST_F(AnalyticsManagerTest, KeepsEveryLineWholeWhenManyThreadsAddRecords) {
    AnalyticsManager* const manager = AnalyticsManager::enable(folder.path("a.jsonl"));
    ASSERT_NE(manager, nullptr);
    RunTogether(8, [manager](int number) {
        for (int i = 0; i < 100; ++i)
            manager->addRecord("thread", rapidjson::Value(number * 100 + i));
    });
    std::multiset<std::string> lines;
    std::istringstream file(folder.read("a.jsonl"));
    for (std::string line; std::getline(file, line);)
        lines.insert(line);
    std::multiset<std::string> expected;
    for (int i = 0; i < 800; ++i)
        expected.insert("{\"name\":\"thread\",\"value\":" + std::to_string(i) + "}");
    EXPECT_EQ(lines, expected);
}

TEST_F(AnalyticsManagerTest, MayBeSwitchedOffAndOnWhileThreadsAddRecords) {
    const CapturedLog log;
    RunTogether(4, [this](int number) {
        for (int i = 0; i < 100; ++i) {
            AnalyticsManager* const manager = AnalyticsManager::getInstance();
            if (manager) manager->addRecord("thread", rapidjson::Value(i));
            if (number == 0) AnalyticsManager::enable(folder.path("a.jsonl"));
            if (number == 1) AnalyticsManager::disable();
        }
    });
    EXPECT_THAT(log.messages(), IsEmpty());
    std::istringstream file(folder.read("a.jsonl"));
    for (std::string line; std::getline(file, line);)
        EXPECT_THAT(line, testing::MatchesRegex("\\{\"name\":\"thread\",\"value\":[0-9]+\\}"));
}

// The environment is read once a process: these run in a process of their own.
class AnalyticsManagerDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

[[noreturn]] void AddOneRecordTo(const char* path) {
    setenv("OX_ANALYTICS_FILE", path, 1);
    AnalyticsManager* const manager = AnalyticsManager::getInstance();
    if (manager) manager->addRecord("first use", rapidjson::Value(1));
    std::exit(AnalyticsManager::getInstance() ? 1 : 0);
}

TEST_F(AnalyticsManagerDeathTest, IsEnabledByTheEnvironment) {
    EXPECT_EXIT(AddOneRecordTo("/dev/stderr"), testing::ExitedWithCode(1),
                "^\\{\"name\":\"first use\",\"value\":1\\}\n$");
}

TEST_F(AnalyticsManagerDeathTest, LogsOneErrorForAnUnusableFileInTheEnvironment) {
    EXPECT_EXIT(AddOneRecordTo("/dev/null/a.jsonl"), testing::ExitedWithCode(0),
                "^\\[error\\] AnalyticsManager: Cannot open the analytics file "
                "\"/dev/null/a.jsonl\": Not a directory \\(AnalyticsManager.cpp:[0-9]+\\)\n$");
}

TEST_F(AnalyticsManagerDeathTest, StaysDisabledWhenTheEnvironmentNamesNoFile) {
    EXPECT_EXIT(AddOneRecordTo(""), testing::ExitedWithCode(0), "^$");
}

[[noreturn]] void DisableFirst() {
    setenv("OX_ANALYTICS_FILE", "/dev/stderr", 1);
    AnalyticsManager::disable();
    std::exit(AnalyticsManager::getInstance() ? 1 : 0);
}

TEST_F(AnalyticsManagerDeathTest, LetsAHostDecideBeforeTheEnvironment) {
    EXPECT_EXIT(DisableFirst(), testing::ExitedWithCode(0), "^$");
}

} // namespace
