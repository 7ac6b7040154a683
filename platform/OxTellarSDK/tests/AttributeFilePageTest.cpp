#include <OxTellarSDK/Attribute.h>

#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "AttributePrinter.h"
#include "ContainerBytes.h"
#include "ExampleValue.h"

namespace {

/// The bytes that the page about the format shows: lines "    <offset>  <bytes>   <remark>".
std::string BytesOnThePage() {
    std::ifstream page(TELLAR_ATTRIBUTE_FILE_PAGE);
    const std::regex shown("    ([0-9a-f]{4}) ((?: [0-9a-f]{2})+)(?:   .*)?");
    std::string bytes;
    for (std::string line; std::getline(page, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, shown)) continue;
        EXPECT_EQ(std::stoul(match[1], nullptr, 16), bytes.size()) << line;
        const std::string digits = match[2];
        for (std::size_t i = 0; i < digits.size(); i += 3)
            bytes += static_cast<char>(std::stoi(digits.substr(i + 1, 2), nullptr, 16));
    }
    return bytes;
}

} // namespace

TEST(AttributeFilePage, ShowsTheBytesThatAreWritten) {
    const std::string shown = BytesOnThePage();
    ASSERT_EQ(shown.size(), 312u);
    EXPECT_TRUE(shown == ContainerBytes::Write(ExampleValue()));
}

TEST(AttributeFilePage, ShowsBytesThatCanBeRead) {
    EXPECT_EQ(ContainerBytes::Read(BytesOnThePage()), ExampleValue());
}
