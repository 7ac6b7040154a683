#include <ResolutionTableOx/ResolutionTable.h>

#include <fstream>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ResolutionText.h"

namespace {

TEST(BuiltInResolutions, HoldTheUsualFormats) {
    const auto table = GetResolutionTable(nullptr);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(Found(*table, "square_512"), "square_512 512x512 aspect 1");
    EXPECT_EQ(Found(*table, "hd_1080"), "hd_1080 1920x1080 aspect 1");
    EXPECT_EQ(Found(*table, "uhd_4k"), "uhd_4k 3840x2160 aspect 1");
    EXPECT_EQ(Found(*table, "ntsc_d1"), "ntsc_d1 720x486 aspect 0.9");
    EXPECT_EQ(Found(*table, "pal_d1"), "pal_d1 720x576 aspect 1.0667");
    EXPECT_EQ(Found(*table, "dci_4k_scope"), "dci_4k_scope 4096x1716 aspect 1");
    EXPECT_EQ(Found(*table, "anamorphic_4k"), "anamorphic_4k 3656x3112 aspect 2");
    EXPECT_EQ(Found(*table, "vertical_1080"), "vertical_1080 1080x1920 aspect 1");
}

TEST(BuiltInResolutions, HaveNamesThatDifferOfLowerCaseLettersDigitsAndUnderscores) {
    const auto table = GetResolutionTable(nullptr);
    std::set<std::string> names;
    for (const ResolutionTableEntry& entry : table->getEntries()) {
        EXPECT_TRUE(names.insert(entry.getName()).second) << entry.getName();
        EXPECT_THAT(entry.getName(), testing::MatchesRegex("[a-z][a-z0-9_]*"));
    }
}

double PictureAspect(const ResolutionTable& table, const std::string& name) {
    const ResolutionTableEntry& entry = table.getResolution(name);
    return entry.getPixelAspect() * entry.getWidth() / entry.getHeight();
}

// Names of formats, and width divided by height of the picture that they are to give.
struct Shape {
    const char* name;
    double aspect;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << shape.name;
}

class BuiltInShape : public testing::TestWithParam<Shape> {};

TEST_P(BuiltInShape, IsThatOfThePicture) {
    // Sizes are whole, often even ones: a pixel or two beside the exact shape.
    EXPECT_NEAR(PictureAspect(*GetResolutionTable(nullptr), GetParam().name), GetParam().aspect,
                0.005 * GetParam().aspect);
}

INSTANTIATE_TEST_SUITE_P(StandardDefinition, BuiltInShape,
                         testing::Values(Shape{"ntsc_square", 4.0 / 3}, Shape{"ntsc_d1", 4.0 / 3},
                                         Shape{"ntsc_dv", 4.0 / 3}, Shape{"pal_square", 4.0 / 3},
                                         Shape{"pal_d1", 4.0 / 3}, Shape{"ntsc_d1_wide", 16.0 / 9},
                                         Shape{"ntsc_dv_wide", 16.0 / 9},
                                         Shape{"pal_d1_wide", 16.0 / 9}));
INSTANTIATE_TEST_SUITE_P(HighDefinition, BuiltInShape,
                         testing::Values(Shape{"hd_540", 16.0 / 9}, Shape{"hd_720", 16.0 / 9},
                                         Shape{"hdv_1080", 16.0 / 9}, Shape{"qhd_1440", 16.0 / 9},
                                         Shape{"uhd_5k", 16.0 / 9}, Shape{"uhd_8k", 16.0 / 9}));
INSTANTIATE_TEST_SUITE_P(Cinema, BuiltInShape,
                         testing::Values(Shape{"hd_1080_185", 1.85}, Shape{"hd_1080_200", 2},
                                         Shape{"hd_1080_239", 2.39}, Shape{"uhd_4k_185", 1.85},
                                         Shape{"uhd_4k_200", 2}, Shape{"uhd_4k_239", 2.39},
                                         Shape{"dci_2k_flat", 1.85}, Shape{"dci_4k_flat", 1.85},
                                         Shape{"dci_2k_scope", 2.39}, Shape{"academy_2k", 1.372},
                                         Shape{"academy_4k", 1.372}, Shape{"academy_185_2k", 1.85},
                                         Shape{"academy_185_4k", 1.85},
                                         Shape{"anamorphic_2k", 2.35}, Shape{"anamorphic_4k", 2.35},
                                         Shape{"super35_2k", 1.316}, Shape{"super35_4k", 1.316},
                                         Shape{"vistavision_3k", 1.5},
                                         Shape{"vistavision_6k", 1.5}));
INSTANTIATE_TEST_SUITE_P(Upright, BuiltInShape,
                         testing::Values(Shape{"vertical_720", 9.0 / 16},
                                         Shape{"vertical_1440", 9.0 / 16},
                                         Shape{"vertical_4k", 9.0 / 16}, Shape{"portrait_4x5", 0.8},
                                         Shape{"portrait_3x4", 0.75},
                                         Shape{"portrait_2x3", 2.0 / 3}));

// The cells of a row of the document's table, "| `hd_720` | 1280 | 720 | 1 |", as one text.
std::optional<std::string> DocumentRow(const std::string& line) {
    if (line.rfind("| `", 0) != 0) return std::nullopt;
    std::istringstream cells(line);
    std::string name, width, height, aspect, bar;
    cells >> bar >> name >> bar >> width >> bar >> height >> bar >> aspect;
    return name.substr(1, name.size() - 2) + ' ' + width + 'x' + height + " aspect " + aspect;
}

TEST(ResolutionsDocument, HasTheBuiltInTable) {
    std::ifstream file(TELLAR_RESOLUTIONS_DOCUMENT);
    std::vector<std::string> documented;
    for (std::string line; std::getline(file, line);) {
        if (const auto row = DocumentRow(line)) documented.push_back(*row);
    }
    std::vector<std::string> builtIn;
    for (const ResolutionTableEntry& entry : GetResolutionTable(nullptr)->getEntries())
        builtIn.push_back(Text(entry));
    EXPECT_EQ(documented, builtIn);
}

} // namespace
