#include <ResolutionTableOx/ResolutionTable.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>

#include "CapturedLog.h"
#include "ResolutionText.h"
#include "RunTogether.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

namespace {

std::atomic<int> looksAtFiles{0};

} // namespace

// The system's function under both of its names, counted, for the library to find before the
// system's own.
extern "C" {
[[gnu::visibility("default")]] int stat(const char* path, struct stat* status) noexcept {
    ++looksAtFiles;
    return fstatat(AT_FDCWD, path, status, 0);
}
[[gnu::visibility("default")]] int stat64(const char* path, struct stat64* status) noexcept {
    ++looksAtFiles;
    return fstatat64(AT_FDCWD, path, status, 0);
}
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string ErrorOf(const ResolutionTable& table, const std::string& name) {
    try {
        return Found(table, name);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string EntryError(const std::string& name, int width, int height, double pixelAspect) {
    try {
        return Text(ResolutionTableEntry(name, width, height, pixelAspect));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(ResolutionTableEntry, HoldsWhatItIsMadeOf) {
    EXPECT_EQ(EntryError("wide", 1048576, 2047, 0.5), "wide 1048576x2047 aspect 0.5");
}

TEST(ResolutionTableEntry, RefusesWhatIsNoPicture) {
    EXPECT_EQ(EntryError("", 1, 1, 1), "a name is empty");
    EXPECT_EQ(EntryError("a\nb", 1, 1, 1), "the name \"a\\x0Ab\" holds a control character");
    EXPECT_EQ(EntryError("a", 0, 1, 1),
              "\"a\": width is 0; it must be a whole number from 1 to 1048576");
    EXPECT_EQ(EntryError("a", 1048577, 1, 1),
              "\"a\": width is 1048577; it must be a whole number from 1 to 1048576");
    EXPECT_EQ(EntryError("a", 1, -5, 1),
              "\"a\": height is -5; it must be a whole number from 1 to 1048576");
    EXPECT_EQ(EntryError("a", 65536, 32768, 1),
              "\"a\": width times height is 2147483648; it must be at most 2147483647");
    EXPECT_EQ(EntryError("a", 1, 1, 0),
              "\"a\": pixelAspect is 0; it must be a finite number above 0");
    EXPECT_EQ(EntryError("a", 1, 1, -1.5),
              "\"a\": pixelAspect is -1.5; it must be a finite number above 0");
    EXPECT_EQ(EntryError("a", 1, 1, std::numeric_limits<double>::infinity()),
              "\"a\": pixelAspect is inf; it must be a finite number above 0");
    EXPECT_EQ(EntryError("a", 1, 1, std::nan("")),
              "\"a\": pixelAspect is nan; it must be a finite number above 0");
}

TEST(ResolutionTable, FindsEntriesByNameAndKeepsTheirOrder) {
    const ResolutionTable table({{"z", 1, 2, 1}, {"a", 3, 4, 2}, {"m", 5, 6, 0.5}});
    EXPECT_EQ(Found(table, "z"), "z 1x2 aspect 1");
    EXPECT_EQ(Found(table, "a"), "a 3x4 aspect 2");
    EXPECT_EQ(Found(table, "m"), "m 5x6 aspect 0.5");
    EXPECT_EQ(table.getEntries()[0].getName(), "z");
    EXPECT_EQ(table.getEntries()[2].getName(), "m");
}

TEST(ResolutionTable, FindsTheFirstOfEntriesOfOneName) {
    const ResolutionTable table({{"a", 1, 1, 1}, {"b", 2, 2, 1}, {"a", 3, 3, 1}});
    EXPECT_EQ(Found(table, "a"), "a 1x1 aspect 1");
}

TEST(ResolutionTable, WorksAsACopyAfterTheOriginalIsGone) {
    std::optional<ResolutionTable> original(ResolutionTable({{"b", 1, 1, 1}, {"a", 2, 2, 1}}));
    const ResolutionTable copy = *original;
    original.reset();
    EXPECT_EQ(Found(copy, "a"), "a 2x2 aspect 1");
    EXPECT_EQ(Found(copy, "b"), "b 1x1 aspect 1");
}

TEST(ResolutionTable, FindsAFormatForEverySize) {
    const ResolutionTable table({{"640x480", 1, 2, 2}});
    EXPECT_EQ(Found(table, "1280x720"), "1280x720 1280x720 aspect 1");
    EXPECT_EQ(Found(table, "1x1048576"), "1x1048576 1x1048576 aspect 1");
    EXPECT_EQ(Found(table, "640x480"), "640x480 1x2 aspect 2");
    EXPECT_EQ(&table.getResolution("1280x720"), &table.getResolution("1280x720"));
}

TEST(ResolutionTable, RefusesSizesThatNoFormatCanHave) {
    const ResolutionTable table({});
    EXPECT_EQ(ErrorOf(table, "0x480"),
              "\"0x480\": width is 0; it must be a whole number from 1 to 1048576");
    EXPECT_EQ(ErrorOf(table, "640x1048577"),
              "\"640x1048577\": height is 1048577; it must be a whole number from 1 to 1048576");
    EXPECT_EQ(
        ErrorOf(table, "100000x100000"),
        "\"100000x100000\": width times height is 10000000000; it must be at most 2147483647");
}

TEST(ResolutionTable, TakesOnlyTwoNumbersForASize) {
    for (const char* name : {"640", "640x", "x480", "640X480", "640x480x2", "-640x480", "+640x480",
                             "0640x480", "640 x 480", "640.5x480", "99999999999x1"})
        EXPECT_EQ(ErrorOf(ResolutionTable({}), name),
                  std::string("no resolution is named '") + name + "'");
}

TEST(ResolutionTable, SuggestsTheClosestNamesAtMostThree) {
    const ResolutionTable table(
        {{"hd_1080", 1, 1, 1}, {"hd_1081", 1, 1, 1}, {"hd_720", 1, 1, 1}, {"hd_10", 1, 1, 1}});
    EXPECT_EQ(ErrorOf(table, "hd1080"),
              "no resolution is named 'hd1080'; did you mean 'hd_1080' or 'hd_1081'?");
    EXPECT_EQ(ErrorOf(table, "hd_10811"),
              "no resolution is named 'hd_10811'; did you mean 'hd_1081' or 'hd_1080'?");
    EXPECT_EQ(ErrorOf(table, "hd_721"), "no resolution is named 'hd_721'; did you mean 'hd_720'?");
    const ResolutionTable similar(
        {{"aaa4", 1, 1, 1}, {"aaa3", 1, 1, 1}, {"aaa2", 1, 1, 1}, {"aaa1", 1, 1, 1}});
    EXPECT_EQ(ErrorOf(similar, "aaa0"),
              "no resolution is named 'aaa0'; did you mean 'aaa4', 'aaa3' or 'aaa2'?");
}

TEST(ResolutionTable, SuggestsNamesThatDifferInCase) {
    const ResolutionTable table({{"uhd_4k", 1, 1, 1}, {"Site", 1, 1, 1}});
    EXPECT_EQ(ErrorOf(table, "UHD_4K"), "no resolution is named 'UHD_4K'; did you mean 'uhd_4k'?");
    EXPECT_EQ(ErrorOf(table, "SITE"), "no resolution is named 'SITE'; did you mean 'Site'?");
}

TEST(ResolutionTable, SuggestsNothingWhenNoNameIsLikeIt) {
    const ResolutionTable table({{"hd_1080", 1, 1, 1}, {"ab", 1, 1, 1}});
    EXPECT_EQ(ErrorOf(table, "polaroid"), "no resolution is named 'polaroid'");
    EXPECT_EQ(ErrorOf(table, ""), "no resolution is named ''");
    EXPECT_EQ(ErrorOf(table, "xy"), "no resolution is named 'xy'");
    EXPECT_EQ(ErrorOf(ResolutionTable({}), "hd_1080"), "no resolution is named 'hd_1080'");
    const std::string isLong(1000000, 'h');
    EXPECT_EQ(ErrorOf(table, isLong), "no resolution is named '" + isLong + "'");
}

// Every test writes its own file; what is logged is at hand.
class ResolutionTableFile : public testing::Test {
protected:
    void TearDown() override {
        const ScopedEnvironment noKey("OX_CONFIG_RESOLUTION_TABLE", std::nullopt);
        Config()->reload();
    }

    std::string write(const std::string& content) const {
        return folder.write("formats.json", content);
    }
    std::vector<std::string> errors() const { return log.textsOf("ResolutionTable"); }

    const TempDirectory folder;
    const CapturedLog log;
};

// Gives the file another time, however fast the test is.
void Age(const std::string& path, int seconds) {
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) -
                                               std::chrono::seconds(seconds));
}

TEST_F(ResolutionTableFile, OverridesFormatsInPlaceAndAppendsNewOnes) {
    const auto builtIn = GetResolutionTable(nullptr);
    const std::string path = write(R"({"zeta": {"width": 11, "height": 12},
        "square_512": {"width": 500, "height": 501, "pixelAspect": 2},
        "alpha": {"width": 13, "height": 14}})");
    const auto table = GetResolutionTable(path.c_str());
    ASSERT_NE(table, nullptr);
    ASSERT_THAT(table->getEntries(), SizeIs(builtIn->getEntries().size() + 2));
    EXPECT_EQ(Text(table->getEntries()[0]), Text(builtIn->getEntries()[0]));
    EXPECT_EQ(Text(table->getEntries()[1]), "square_512 500x501 aspect 2");
    EXPECT_EQ(Text(table->getEntries()[2]), Text(builtIn->getEntries()[2]));
    EXPECT_EQ(Text(table->getEntries().rbegin()[1]), "zeta 11x12 aspect 1");
    EXPECT_EQ(Text(table->getEntries().rbegin()[0]), "alpha 13x14 aspect 1");
    EXPECT_EQ(Found(*table, "square_512"), "square_512 500x501 aspect 2");
    EXPECT_EQ(Found(*table, "hd_720"), "hd_720 1280x720 aspect 1");
    EXPECT_EQ(Found(*GetResolutionTable(nullptr), "square_512"), "square_512 512x512 aspect 1");
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ResolutionTableFile, IsReadOnceWhileItStaysAsItIs) {
    const std::string path = write(R"({"a": {"width": 1, "height": 1}})");
    const auto table = GetResolutionTable(path.c_str());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(GetResolutionTable(path.c_str()), table);
    EXPECT_EQ(GetResolutionTable(nullptr), GetResolutionTable(nullptr));
}

TEST_F(ResolutionTableFile, IsLookedAtOnceForEachQuestion) {
    const std::string path = write(R"({"a": {"width": 1, "height": 1}})");
    const auto table = GetResolutionTable(path.c_str());
    looksAtFiles = 0;
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(GetResolutionTable(path.c_str()), table);
    EXPECT_EQ(looksAtFiles, 100);
}

TEST_F(ResolutionTableFile, IsReadAgainWhenItsSizeOrItsTimeChanges) {
    const std::string path = write(R"({"a": {"width": 1, "height": 1}})");
    const auto before = GetResolutionTable(path.c_str());
    const auto time = std::filesystem::last_write_time(path);
    write(R"({"a": {"width": 22, "height": 1}})");
    std::filesystem::last_write_time(path, time);
    EXPECT_EQ(Found(*GetResolutionTable(path.c_str()), "a"), "a 22x1 aspect 1");
    write(R"({"a": {"width": 33, "height": 1}})");
    Age(path, 10);
    EXPECT_EQ(Found(*GetResolutionTable(path.c_str()), "a"), "a 33x1 aspect 1");
    EXPECT_EQ(Found(*before, "a"), "a 1x1 aspect 1");
}

TEST_F(ResolutionTableFile, IsTheOneOfTheConfigurationWhenNoneIsGiven) {
    const ScopedEnvironment key("OX_CONFIG_RESOLUTION_TABLE",
                                write(R"({"a": {"width": 7, "height": 8}})"));
    Config()->reload();
    const auto table = GetResolutionTable(nullptr);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(Found(*table, "a"), "a 7x8 aspect 1");
}

TEST_F(ResolutionTableFile, IsNoneWhenTheConfigurationNamesNone) {
    const ScopedEnvironment key("OX_CONFIG_RESOLUTION_TABLE", "");
    Config()->reload();
    const auto table = GetResolutionTable(nullptr);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->getEntries().front().getName(), "square_256");
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ResolutionTableFile, OfTheConfigurationIsTakenByItsNameAsItIs) {
    const ScopedEnvironment home("HOME", folder.path());
    write(R"({"a": {"width": 7, "height": 8}})");
    const ScopedEnvironment key("OX_CONFIG_RESOLUTION_TABLE", "~/formats.json");
    Config()->reload();
    EXPECT_EQ(GetResolutionTable(nullptr), nullptr);
    EXPECT_THAT(errors(), ElementsAre("cannot read the resolution table \"~/formats.json\": No "
                                      "such file or directory"));
}

TEST_F(ResolutionTableFile, ThatIsMissingGivesNoTableAndOneErrorUntilItIsThere) {
    const std::string path = folder.path("formats.json");
    const std::string error =
        "cannot read the resolution table \"" + path + "\": No such file or directory";
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), ElementsAre(error));
    EXPECT_EQ(log.messages().front().level, OxLogLevel::error);

    write(R"({"a": {"width": 7, "height": 8}})");
    ASSERT_NE(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), SizeIs(1));

    std::filesystem::remove(path);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), ElementsAre(error, error));
}

TEST_F(ResolutionTableFile, OfAnEmptyNameIsMissing) {
    EXPECT_EQ(GetResolutionTable(""), nullptr);
    EXPECT_THAT(errors(),
                ElementsAre("cannot read the resolution table \"\": No such file or directory"));
}

TEST_F(ResolutionTableFile, ThatIsDamagedGivesNoTableAndOneErrorForEachChange) {
    const std::string path = write("{\"a\": {\"width\": 0, \"height\": 8}}");
    const std::string error = "resolution table \"" + path +
                              "\", line 1, column 18: \"a\": width is 0; it must be a whole number "
                              "from 1 to 1048576";
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), ElementsAre(error));

    Age(path, 10);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), ElementsAre(error, error));

    write(R"({"a": {"width": 77, "height": 8}})");
    ASSERT_NE(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(errors(), SizeIs(2));
}

TEST_F(ResolutionTableFile, MustBeARegularFileOfModerateSize) {
    EXPECT_EQ(GetResolutionTable(folder.path().c_str()), nullptr);
    EXPECT_EQ(GetResolutionTable("/dev/null"), nullptr);
    const std::string pipe = folder.makePipe("pipe");
    EXPECT_EQ(GetResolutionTable(pipe.c_str()), nullptr);
    const std::string path = write("{}");
    std::filesystem::resize_file(path, 4 * 1024 * 1024 + 1);
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    EXPECT_THAT(
        errors(),
        ElementsAre(
            "cannot read the resolution table \"" + folder.path() + "\": not a regular file",
            "cannot read the resolution table \"/dev/null\": not a regular file",
            "cannot read the resolution table \"" + pipe + "\": not a regular file",
            "cannot read the resolution table \"" + path + "\": 4194305 bytes are too many"));
}

TEST_F(ResolutionTableFile, MayBeAsLargeAsTheLimit) {
    const std::string path = write("{}" + std::string(4 * 1024 * 1024 - 2, ' '));
    EXPECT_NE(GetResolutionTable(path.c_str()), nullptr);
}

TEST_F(ResolutionTableFile, MayHoldThousandsOfFormats) {
    std::string content = "{";
    for (int i = 0; i < 20000; ++i)
        content += "\"format " + std::to_string(i) +
                   "\": {\"width\": 1, \"height\": " + std::to_string(1 + i) + "},\n";
    const std::string path = write(content + R"("last": {"width": 1, "height": 2}})");
    const auto table = GetResolutionTable(path.c_str());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->getResolution("format 19999").getHeight(), 20000);
    EXPECT_EQ(table->getResolution("format 0").getHeight(), 1);
    EXPECT_EQ(table->getResolution("last").getHeight(), 2);
}

TEST_F(ResolutionTableFile, MayBeAskedForByALogSinkThatIsToldItsError) {
    const std::string path = write("damaged");
    std::atomic<int> asked{0};
    const OxLogSink previous = OxLoggingSetSink([&](const OxLogMessage& message) {
        if (message.loggerName == "ResolutionTable")
            asked += GetResolutionTable(path.c_str()) == nullptr;
    });
    EXPECT_EQ(GetResolutionTable(path.c_str()), nullptr);
    OxLoggingSetSink(previous);
    EXPECT_EQ(asked, 1);
}

TEST_F(ResolutionTableFile, IsReadOnceForThreadsThatAskTogether) {
    const std::string path = write(R"({"a": {"width": 7, "height": 8}})");
    std::vector<std::shared_ptr<const ResolutionTable>> tables(8);
    RunTogether(8, [&](int number) {
        tables[static_cast<std::size_t>(number)] = GetResolutionTable(path.c_str());
    });
    ASSERT_NE(tables[0], nullptr);
    EXPECT_THAT(tables, testing::Each(tables[0]));
}

TEST_F(ResolutionTableFile, TellsThreadsThatAskTogetherItsErrorOnce) {
    const std::string path = write("damaged");
    std::atomic<int> empty{0};
    RunTogether(8, [&](int) { empty += GetResolutionTable(path.c_str()) == nullptr; });
    EXPECT_EQ(empty, 8);
    EXPECT_THAT(errors(), SizeIs(1));
}

TEST_F(ResolutionTableFile, ShowsThreadsOldOrNewContentsWhileItIsReplaced) {
    const std::string path = write(R"({"a": {"width": 1, "height": 1}})");
    std::atomic<int> wrong{0};
    RunTogether(4, [&](int number) {
        for (int i = 0; i < 200; ++i) {
            if (number == 0) {
                folder.write("next.json", i % 2 ? R"({"a": {"width": 1, "height": 1}})"
                                                : R"({"a": {"width": 22, "height": 22}})");
                std::filesystem::rename(folder.path("next.json"), path);
                continue;
            }
            const auto table = GetResolutionTable(path.c_str());
            const ResolutionTableEntry* entry = table ? &table->getResolution("a") : nullptr;
            if (!entry || entry->getWidth() != entry->getHeight()) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(errors(), IsEmpty());
}

} // namespace
