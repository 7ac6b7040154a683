#include "text/HexText.h"
#include "text/MessageText.h"
#include "text/TextPlace.h"
#include "text/Utf8.h"

#include <gtest/gtest.h>

namespace {

using namespace TellarInternal;

TEST(HexText, ReadsTwoDigitsInEitherCase) {
    EXPECT_EQ(ReadHexByte("4f"), 'O');
    EXPECT_EQ(ReadHexByte("4Fzz"), 'O');
    EXPECT_EQ(ReadHexByte("ff"), '\xff');
    for (const char* text : {"", "4", "4g", "g4", " 4", "-4", "0x"})
        EXPECT_EQ(ReadHexByte(text), std::nullopt) << text;
}

TEST(MessageText, StaysOnOneLine) {
    std::string text = "a ";
    AppendOnOneLine(text, "b\n\x7f\xC3\xA9\t");
    EXPECT_EQ(text, "a b\\x0a\\x7f\xC3\xA9\\x09");
}

TEST(TextPlace, CountsCharactersInPlacesAndBytesInColumns) {
    constexpr std::string_view kText = "one\n\xC3\xA9\xC3\xA9x";
    EXPECT_EQ(TextPlace("in", kText, 0), "in:1:1: ");
    EXPECT_EQ(TextPlace("in", kText, 3), "in:1:4: ");
    EXPECT_EQ(TextPlace("in", kText, 4), "in:2:1: ");
    EXPECT_EQ(TextPlace("in", kText, 8), "in:2:3: ");
    EXPECT_EQ(TextPlace("in", kText, 1000), "in:2:4: ");
    EXPECT_EQ(LineAndColumn(kText, 8), "line 2, column 5");
}

TEST(AscendingPlaces, AreThoseOfTextPlace) {
    constexpr std::string_view kText = "one\n\xC3\xA9\xC3\xA9x\n\nend";
    AscendingPlaces places("in", kText);
    EXPECT_EQ(places.at(0), "in:1:1");
    EXPECT_EQ(places.at(3), "in:1:4");
    EXPECT_EQ(places.at(8), "in:2:3");
    EXPECT_EQ(places.at(8), "in:2:3");
    EXPECT_EQ(places.at(10), "in:3:1");
    EXPECT_EQ(places.at(1000), "in:4:4");
}

TEST(Utf8, CutsBetweenCharacters) {
    constexpr std::string_view kText = "a\xC3\xA9\xE2\x82\xAC!";
    EXPECT_EQ(Utf8Beginning(kText, 7), kText);
    EXPECT_EQ(Utf8Beginning(kText, 6), "a\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(Utf8Beginning(kText, 5), "a\xC3\xA9");
    EXPECT_EQ(Utf8Beginning(kText, 2), "a");
    EXPECT_EQ(Utf8Beginning(kText, 0), "");
}

} // namespace
