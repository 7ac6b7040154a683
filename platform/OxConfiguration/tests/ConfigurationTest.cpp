#include <OxConfiguration/Configuration.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Every test says what it configures and reloads; afterwards nothing of it is left.
class ConfigurationTest : public testing::Test {
protected:
    void TearDown() override {
        const ScopedEnvironment noFile("OX_CONFIG_FILE", std::nullopt);
        Config()->reload();
    }

    const TempDirectory folder;
};

TEST_F(ConfigurationTest, IsOneObjectForTheProcess) {
    ASSERT_NE(Config(), nullptr);
    EXPECT_EQ(Config(), Config());
}

TEST_F(ConfigurationTest, HasNothingWithoutFileAndEnvironment) {
    const ScopedEnvironment noFile("OX_CONFIG_FILE", std::nullopt);
    Config()->reload();
    EXPECT_FALSE(Config()->has("missing"));
    EXPECT_EQ(Config()->get("missing"), "");
    EXPECT_THAT(Config()->sources(), IsEmpty());
}

TEST_F(ConfigurationTest, ReadsTheFileThatTheEnvironmentNames) {
    const std::string path = folder.write("site.json", R"({"cache": {"limit": 4}, "empty": ""})");
    const ScopedEnvironment file("OX_CONFIG_FILE", path);
    Config()->reload();
    EXPECT_EQ(Config()->get("cache.limit"), "4");
    EXPECT_TRUE(Config()->has("empty"));
    EXPECT_EQ(Config()->get("empty"), "");
    EXPECT_FALSE(Config()->has("cache"));
    EXPECT_THAT(Config()->sources(), ElementsAre(path));
}

TEST_F(ConfigurationTest, LetsTheEnvironmentWinOverTheFile) {
    const std::string path = folder.write("site.json", R"({"cache": {"limit": 4}, "other": "x"})");
    const ScopedEnvironment file("OX_CONFIG_FILE", path);
    const ScopedEnvironment limit("OX_CONFIG_cache_limit", "9=9");
    const ScopedEnvironment empty("OX_CONFIG_EMPTY", "");
    Config()->reload();
    EXPECT_EQ(Config()->get("cache.limit"), "9=9");
    EXPECT_EQ(Config()->get("other"), "x");
    EXPECT_TRUE(Config()->has("EMPTY"));
    EXPECT_THAT(Config()->sources(), ElementsAre(path, "OX_CONFIG_EMPTY", "OX_CONFIG_cache_limit"));
}

TEST_F(ConfigurationTest, TakesTheKeyFileFromTheFileOnly) {
    const ScopedEnvironment file("OX_CONFIG_FILE",
                                 folder.write("site.json", R"({"FILE": "from the file"})"));
    Config()->reload();
    EXPECT_EQ(Config()->get("FILE"), "from the file");
}

TEST_F(ConfigurationTest, ReadsAgainOnlyOnReload) {
    const ScopedEnvironment before("OX_CONFIG_KEY", "before");
    Config()->reload();
    const ScopedEnvironment after("OX_CONFIG_KEY", "after");
    EXPECT_EQ(Config()->get("KEY"), "before");
    Config()->reload();
    EXPECT_EQ(Config()->get("KEY"), "after");
}

TEST_F(ConfigurationTest, LogsOneErrorForABrokenFileAndKeepsTheEnvironment) {
    const std::string path = folder.write("broken.json", "{\"a\": \"1\",\n \"b\" 2}");
    const ScopedEnvironment file("OX_CONFIG_FILE", path);
    const ScopedEnvironment key("OX_CONFIG_KEY", "from the environment");
    const CapturedLog log;
    Config()->reload();
    EXPECT_EQ(Config()->get("KEY"), "from the environment");
    EXPECT_FALSE(Config()->has("a"));
    EXPECT_THAT(Config()->sources(), ElementsAre("OX_CONFIG_KEY"));
    ASSERT_THAT(log.messages(), testing::SizeIs(1));
    EXPECT_EQ(log.messages().front().level, OxLogLevel::error);
    EXPECT_EQ(log.messages().front().loggerName, "Configuration");
    EXPECT_EQ(log.messages().front().text, "Configuration file \"" + path +
                                               "\", line 2, column 6: "
                                               "Missing a colon after a name of object member.");
}

TEST_F(ConfigurationTest, TakesAKeyFromTheFirstFileThatHasIt) {
    const std::string show = folder.write("show.json", R"({"both": "show", "show": "1"})");
    const std::string site = folder.write("site.json", R"({"both": "site", "site": "2"})");
    const ScopedEnvironment files("OX_CONFIG_FILE", show + ":" + site);
    Config()->reload();
    EXPECT_EQ(Config()->get("both"), "show");
    EXPECT_EQ(Config()->get("show"), "1");
    EXPECT_EQ(Config()->get("site"), "2");
    EXPECT_THAT(Config()->sources(), ElementsAre(show, site));
}

TEST_F(ConfigurationTest, TakesAnEmptyValueForOneThatIsThere) {
    const std::string show = folder.write("show.json", R"({"key": ""})");
    const std::string site = folder.write("site.json", R"({"key": "site"})");
    const ScopedEnvironment files("OX_CONFIG_FILE", show + ":" + site);
    Config()->reload();
    EXPECT_TRUE(Config()->has("key"));
    EXPECT_EQ(Config()->get("key"), "");
}

TEST_F(ConfigurationTest, LetsTheEnvironmentWinOverAllFiles) {
    const std::string show = folder.write("show.json", R"({"first": "show"})");
    const std::string site = folder.write("site.json", R"({"first": "site", "second": "site"})");
    const ScopedEnvironment files("OX_CONFIG_FILE", show + ":" + site);
    const ScopedEnvironment first("OX_CONFIG_first", "environment");
    const ScopedEnvironment second("OX_CONFIG_second", "environment");
    Config()->reload();
    EXPECT_EQ(Config()->get("first"), "environment");
    EXPECT_EQ(Config()->get("second"), "environment");
    EXPECT_THAT(Config()->sources(),
                ElementsAre(show, site, "OX_CONFIG_first", "OX_CONFIG_second"));
}

TEST_F(ConfigurationTest, PassesOverEmptyEntriesAmongTheFiles) {
    const std::string site = folder.write("site.json", R"({"key": "site"})");
    const CapturedLog log;
    const ScopedEnvironment files("OX_CONFIG_FILE", "::" + site + ":");
    Config()->reload();
    EXPECT_EQ(Config()->get("key"), "site");
    EXPECT_THAT(Config()->sources(), ElementsAre(site));
    const ScopedEnvironment nothing("OX_CONFIG_FILE", ":");
    Config()->reload();
    EXPECT_THAT(Config()->sources(), IsEmpty());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ConfigurationTest, IgnoresAFileWithAFaultAsAWholeAndReadsTheOthers) {
    const std::string broken = folder.write("broken.json", "{\"key\": \"broken\",\n \"b\" 2}");
    const std::string missing = folder.path("missing.json");
    const std::string site = folder.write("site.json", R"({"key": "site"})");
    const ScopedEnvironment files("OX_CONFIG_FILE", broken + ":" + missing + ":" + site);
    const CapturedLog log;
    Config()->reload();
    EXPECT_EQ(Config()->get("key"), "site");
    EXPECT_THAT(Config()->sources(), ElementsAre(site));
    ASSERT_THAT(log.messages(), testing::SizeIs(2));
    EXPECT_EQ(log.messages()[0].text, "Configuration file \"" + broken +
                                          "\", line 2, column 6: "
                                          "Missing a colon after a name of object member.");
    EXPECT_EQ(log.messages()[1].text,
              "Cannot read the configuration file \"" + missing + "\": No such file or directory");
}

TEST_F(ConfigurationTest, LogsFilesThatCannotBeReadAndReadsTheOthers) {
    const std::string pipe = folder.makePipe("pipe");
    const std::string site = folder.write("site.json", R"({"key": "site"})");
    const ScopedEnvironment files("OX_CONFIG_FILE",
                                  "/proc/self/mem:" + folder.path() + ":" + pipe + ":" + site);
    const CapturedLog log;
    Config()->reload();
    EXPECT_EQ(Config()->get("key"), "site");
    EXPECT_THAT(
        log.textsOf("Configuration"),
        ElementsAre("Cannot read the configuration file \"/proc/self/mem\": Input/output error",
                    "Cannot read the configuration file \"" + folder.path() +
                        "\": not a regular file",
                    "Cannot read the configuration file \"" + pipe + "\": not a regular file"));
}

TEST_F(ConfigurationTest, ShowsManyReadersEitherOldOrNewValuesDuringAReload) {
    const ScopedEnvironment file("OX_CONFIG_FILE",
                                 folder.write("site.json", R"({"first": "1", "second": "1"})"));
    Config()->reload();
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const std::string value = Config()->get("first");
                if (value != "1" && value != "2") ++wrong;
                if (!Config()->has("second") || Config()->sources().size() != 1) ++wrong;
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        folder.write("next.json", i % 2 ? R"({"first": "1", "second": "1"})"
                                        : R"({"first": "2", "second": "2"})");
        std::filesystem::rename(folder.path("next.json"), folder.path("site.json"));
        Config()->reload();
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
}

// The first use happens once a process: these run in a process of their own.
class ConfigurationDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

[[noreturn]] void UseFirstWhileTheSinkAsks() {
    setenv("OX_CONFIG_FILE", "/dev/null/site.json", 1);
    setenv("OX_CONFIG_KEY", "value", 1);
    int asked = 0;
    OxLoggingSetSink([&asked](const OxLogMessage&) { asked += Config()->get("KEY") == "value"; });
    const bool isRead = Config()->get("KEY") == "value" && Config()->get("KEY") == "value";
    std::exit(isRead ? asked : 100);
}

TEST_F(ConfigurationDeathTest, LogsOneErrorOnFirstUseToASinkThatMayAskForSettings) {
    EXPECT_EXIT(UseFirstWhileTheSinkAsks(), testing::ExitedWithCode(1), "^$");
}

[[noreturn]] void UseFirstFromEightThreads() {
    setenv("OX_CONFIG_KEY", "value", 1);
    std::atomic<int> right{0};
    RunTogether(8, [&right](int) { right += Config()->get("KEY") == "value"; });
    std::exit(right);
}

TEST_F(ConfigurationDeathTest, MayBeUsedFirstByManyThreadsAtOnce) {
    EXPECT_EXIT(UseFirstFromEightThreads(), testing::ExitedWithCode(8), "^$");
}

} // namespace
