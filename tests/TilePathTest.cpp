#include <OxTellarProducers/TilePath.h>

#include <locale>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxLoggingHost/OxLoggerGlue.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "ScopedEnvironment.h"

namespace {

using TELLAR::RenderOutputUtilsHost::ProcessTilePath;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kLogger = "RenderOutputUtils";
constexpr const char* kPicture = "/out/beauty.exr";

/// The template of the configuration while it lives.
class Template {
public:
    explicit Template(const std::string& text)
        : variable(std::in_place, "OX_CONFIG_OMBRA_TILE_FILENAME", text) {
        Config()->reload();
    }
    ~Template() {
        variable.reset();
        Config()->reload();
    }

private:
    std::optional<ScopedEnvironment> variable;
};

std::string WithTemplate(const std::string& text, const std::vector<int>& tile = {2, 3},
                         const char* picture = kPicture) {
    const Template set(text);
    return ProcessTilePath(picture, tile);
}

TEST(TilePath, HasItsOwnNameWithoutATemplate) {
    EXPECT_EQ(ProcessTilePath(kPicture, {2, 3}), "/out/tile_2_3.beauty.exr");
    EXPECT_EQ(ProcessTilePath("beauty.exr", {2, 3}), "tile_2_3.beauty.exr");
    EXPECT_EQ(ProcessTilePath("/out/beauty", {2, 3}), "/out/tile_2_3.beauty");
    EXPECT_EQ(ProcessTilePath("/out/beauty.v2.exr", {2, 3, 4, 5}), "/out/tile_2_3.beauty.v2.exr");
    EXPECT_EQ(ProcessTilePath("a/b/beauty.exr", {0, 10}), "a/b/tile_0_10.beauty.exr");
    EXPECT_EQ(ProcessTilePath("/beauty.exr", {2, 3}), "/tile_2_3.beauty.exr");
}

TEST(TilePath, HasNegativeCoordinatesAsTheyAre) {
    EXPECT_EQ(ProcessTilePath(kPicture, {-1, 0}), "/out/tile_-1_0.beauty.exr");
    EXPECT_EQ(ProcessTilePath(kPicture, {-2147483647 - 1, 2147483647}),
              "/out/tile_-2147483648_2147483647.beauty.exr");
}

TEST(TilePath, OfTooFewNumbersIsThePathItselfAndAnError) {
    const CapturedLog log;
    EXPECT_EQ(ProcessTilePath(kPicture, {7}), kPicture);
    EXPECT_EQ(ProcessTilePath("", {}), "");
    const std::string message =
        "Invalid tile data size. Expected at least two elements (column and row).";
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre(message, message));
    EXPECT_EQ(log.messages()[0].level, OxLogLevel::error);
}

TEST(TilePath, FollowsATemplateInThePicturesFolder) {
    EXPECT_EQ(WithTemplate("@STEM@_c@COLUMN@_r@ROW@@EXT@"), "/out/beauty_c2_r3.exr");
    EXPECT_EQ(WithTemplate("@ROW@/@COLUMN@/@STEM@@EXT@"), "/out/3/2/beauty.exr");
    EXPECT_EQ(WithTemplate("@STEM@_@COLUMN@_@ROW@@EXT@", {2, 3}, "beauty.exr"), "beauty_2_3.exr");
    EXPECT_EQ(WithTemplate("@COLUMN@@COLUMN@-@ROW@-@STEM@@EXT@"), "/out/22-3-beauty.exr");
}

TEST(TilePath, FollowsATemplateWithTheUsualName) {
    EXPECT_EQ(WithTemplate("@DEFAULT@"), "/out/tile_2_3.beauty.exr");
    EXPECT_EQ(WithTemplate("tiles/@DEFAULT@"), "/out/tiles/tile_2_3.beauty.exr");
}

TEST(TilePath, OfATemplateThatIsAbsoluteIsOutsideOfThePicturesFolder) {
    EXPECT_EQ(WithTemplate("/tiles/@DEFAULT@"), "/tiles/tile_2_3.beauty.exr");
}

TEST(TilePath, KnowsHowManyTilesThereAreWhenItIsTold) {
    const CapturedLog log;
    EXPECT_EQ(WithTemplate("@DEFAULT@_@COLUMNS@x@ROWS@", {2, 3, 4, 5}),
              "/out/tile_2_3.beauty.exr_4x5");
    EXPECT_THAT(log.textsOf(kLogger), IsEmpty());
}

TEST(TilePath, WarnsWhenItIsNotToldHowManyTilesThereAre) {
    for (const std::vector<int>& tile : {std::vector<int>{2, 3}, std::vector<int>{2, 3, 4}}) {
        const CapturedLog log;
        EXPECT_EQ(WithTemplate("@DEFAULT@_@COLUMNS@x@ROWS@", tile),
                  "/out/tile_2_3.beauty.exr_UnknownColumnsxUnknownRows");
        EXPECT_THAT(log.textsOf(kLogger),
                    ElementsAre("OMBRA_TILE_FILENAME (defined as \"@DEFAULT@_@COLUMNS@x@ROWS@\") "
                                "is using @COLUMNS@ or @ROWS@, but tiles count is not available."));
        EXPECT_EQ(log.messages()[0].level, OxLogLevel::warn);
    }
}

TEST(TilePath, WarnsOfColumnsAloneAndOfRowsAlone) {
    for (const char* text : {"@DEFAULT@@COLUMNS@", "@DEFAULT@@ROWS@"}) {
        const CapturedLog log;
        WithTemplate(text);
        EXPECT_THAT(log.textsOf(kLogger),
                    ElementsAre("OMBRA_TILE_FILENAME (defined as \"" + std::string(text) +
                                "\") is using @COLUMNS@ or @ROWS@, but tiles count is not "
                                "available."));
    }
}

TEST(TilePath, TakesTheThirdAndFourthOfFiveNumbersForTheCounts) {
    const CapturedLog log;
    EXPECT_EQ(WithTemplate("@DEFAULT@_@COLUMNS@x@ROWS@", {2, 3, 4, 5, 6}),
              "/out/tile_2_3.beauty.exr_4x5");
    EXPECT_THAT(log.textsOf(kLogger), IsEmpty());
}

TEST(TilePath, DoesNotAskForATemplateWhenThereAreTooFewNumbers) {
    const CapturedLog log;
    EXPECT_EQ(WithTemplate("neither usable nor looked at", {7}), kPicture);
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre("Invalid tile data size. Expected at least two "
                                                  "elements (column and row)."));
}

/// Digits in groups of two.
struct GroupingNumbers : std::numpunct<char> {
    char do_thousands_sep() const override { return '_'; }
    std::string do_grouping() const override { return "\2"; }
};

TEST(TilePath, HasPlainNumbersInAnyLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new GroupingNumbers));
    EXPECT_EQ(ProcessTilePath(kPicture, {1234567, -7}), "/out/tile_1234567_-7.beauty.exr");
    EXPECT_EQ(WithTemplate("@DEFAULT@_@COLUMNS@x@ROWS@", {0, 1, 10000, 20000}),
              "/out/tile_0_1.beauty.exr_10000x20000");
    std::locale::global(before);
}

TEST(TilePath, HasItsOwnNameAndAWarningForATemplateThatWouldNotTellTilesApart) {
    for (const char* text :
         {"@STEM@_@COLUMN@@EXT@", "@STEM@_@ROW@@EXT@", "@COLUMN@_@ROW@@EXT@",
          "@COLUMN@_@ROW@@STEM@", "@default@", "", "@COLUMNS@@ROWS@@STEM@@EXT@"}) {
        SCOPED_TRACE(text);
        const CapturedLog log;
        EXPECT_EQ(WithTemplate(text), "/out/tile_2_3.beauty.exr");
        EXPECT_THAT(log.textsOf(kLogger),
                    ElementsAre("OMBRA_TILE_FILENAME (defined as \"" + std::string(text) +
                                "\") should contain @COLUMN@, @ROW@, @STEM@ and @EXT@, or "
                                "@DEFAULT@"));
        EXPECT_EQ(log.messages()[0].level, OxLogLevel::warn);
    }
}

TEST(TilePath, IsTheSameWithoutMessages) {
    OxLoggingSetLevel(kLogger, OxLogLevel::off);
    const CapturedLog log;
    EXPECT_EQ(ProcessTilePath(kPicture, {7}), kPicture);
    EXPECT_EQ(WithTemplate("none"), "/out/tile_2_3.beauty.exr");
    EXPECT_EQ(WithTemplate("@DEFAULT@@ROWS@"), "/out/tile_2_3.beauty.exrUnknownRows");
    OxLoggingSetLevel(kLogger, OxLogLevel::warn);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(TilePath, FillsInPlaceholdersThatComeWithOthers) {
    EXPECT_EQ(WithTemplate("@STEM@_@COLUMN@_@ROW@@EXT@", {2, 3}, "/out/a@EXT@.exr"),
              "/out/a.exr_2_3.exr");
    EXPECT_EQ(WithTemplate("@DEFAULT@", {2, 3}, "/out/a@ROW@.exr"), "/out/tile_2_3.a3.exr");
    // Earlier parts of the path are not searched again.
    EXPECT_EQ(WithTemplate("@STEM@_@COLUMN@_@ROW@@EXT@", {2, 3}, "/out/a@ROW@.exr"),
              "/out/a@ROW@_2_3.exr");
}

TEST(TilePath, FollowsTheRulesOfPathsInTheirCorners) {
    const auto tiled = [](const char* picture) { return ProcessTilePath(picture, {2, 3}); };
    EXPECT_EQ(tiled(""), "tile_2_3.");
    EXPECT_EQ(tiled("/"), "tile_2_3./");
    EXPECT_EQ(tiled("/out/"), "/out/tile_2_3..");
    EXPECT_EQ(tiled("/out/.exr"), "/out/tile_2_3..exr");
    EXPECT_EQ(tiled("/out/beauty."), "/out/tile_2_3.beauty.");
    EXPECT_EQ(tiled("/out/."), "/out/tile_2_3..");
    EXPECT_EQ(tiled("/out/.."), "/out/tile_2_3...");
    EXPECT_EQ(tiled("../beauty.exr"), "../tile_2_3.beauty.exr");
    EXPECT_EQ(tiled("/out//beauty.exr"), "/out/tile_2_3.beauty.exr");
    EXPECT_EQ(tiled("/out.d/beauty"), "/out.d/tile_2_3.beauty");
    EXPECT_EQ(WithTemplate("@STEM@_@COLUMN@_@ROW@@EXT@/", {2, 3}), "/out/beauty_2_3.exr/");
}

/// `text` with all of `from` replaced by `to`, left to right.
std::string Replaced(const std::string& text, const std::string& from, const std::string& to) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const bool isHere = text.compare(i, from.size(), from) == 0;
        result += isHere ? to : std::string(1, text[i]);
        i += isHere ? from.size() : 1;
    }
    return result;
}

/// The tile path that a complete template gives for a picture "<folder>/<stem><extension>".
std::string ExpectedTilePath(const std::string& folder, const std::string& stem,
                             const std::string& extension, const std::vector<int>& tile,
                             std::string text) {
    const std::string column = std::to_string(tile[0]);
    const std::string row = std::to_string(tile[1]);
    const bool counts = tile.size() >= 4;
    text = Replaced(text, "@DEFAULT@", "tile_" + column + "_" + row + "." + stem + extension);
    text = Replaced(text, "@COLUMNS@", counts ? std::to_string(tile[2]) : "UnknownColumns");
    text = Replaced(text, "@COLUMN@", column);
    text = Replaced(text, "@ROWS@", counts ? std::to_string(tile[3]) : "UnknownRows");
    text = Replaced(text, "@ROW@", row);
    text = Replaced(text, "@STEM@", stem);
    text = Replaced(text, "@EXT@", extension);
    return text[0] == '/' || folder.empty() ? text : folder + "/" + text;
}

TEST(TilePath, IsWhatTheStepsSayInManyCases) {
    std::mt19937 random(4711);
    const auto oneOf = [&random](const std::vector<std::string>& choices) {
        return choices[random() % choices.size()];
    };
    const std::vector<std::string> pieces = {
        "@DEFAULT@", "@COLUMNS@", "@COLUMN@", "@ROWS@", "@ROW@", "@STEM@", "@EXT@", "@",
        "@@",        "_",         "x/",       "ROW@",   "@STEM", "a",      ".",     "@EXT"};
    const CapturedLog log; // keeps the warnings to itself
    for (int i = 0; i < 200; ++i) {
        const std::string folder = oneOf({"", "/out", "a/b", "/o.ut/c", ".."});
        const std::string stem = oneOf({"beauty", "b_v2", "a@ROW@", "a@EXT@", "@DEFAULT@", "@"});
        const std::string extension = oneOf({"", ".exr", ".@ROW@", ".png"});
        std::string text =
            oneOf({"", "/tiles/"}) + oneOf({"@DEFAULT@", "@COLUMN@@ROW@@STEM@@EXT@"});
        for (unsigned int more = random() % 6; more > 0; --more)
            text += oneOf(pieces);
        std::vector<int> tile;
        for (unsigned int count = 2 + random() % 4; count > 0; --count)
            tile.push_back(static_cast<int>(random() % 2001) - 1000);
        SCOPED_TRACE(text);
        const std::string picture = (folder.empty() ? "" : folder + "/") + stem + extension;
        EXPECT_EQ(WithTemplate(text, tile, picture.c_str()),
                  ExpectedTilePath(folder, stem, extension, tile, text));
    }
}

TEST(TilePath, MayBeAskedForByManyThreadsAtOnce) {
    const Template set("@STEM@_@COLUMN@_@ROW@@EXT@");
    RunTogether(8, [](int number) {
        for (int i = 0; i < 200; ++i)
            ASSERT_EQ(ProcessTilePath(kPicture, {number, i}),
                      "/out/beauty_" + std::to_string(number) + "_" + std::to_string(i) + ".exr");
    });
}

} // namespace
