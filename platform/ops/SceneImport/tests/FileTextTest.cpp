#include "assimp/FileText.h"

#include <string>

#include <gmock/gmock.h>

#include "assimp/ColladaText.h"

namespace {

using namespace TellarSceneImport;

TEST(ToUtf8, LeavesOtherTextsAlone) {
    EXPECT_EQ(ToUtf8(""), "");
    EXPECT_EQ(ToUtf8("a"), "a");
    EXPECT_EQ(ToUtf8("caf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(ToUtf8(std::string("\0\0ab", 4)), std::string("\0\0ab", 4));
}

TEST(ToUtf8, RemovesAByteOrderMark) {
    EXPECT_EQ(ToUtf8("\xEF\xBB\xBFtext"), "text");
}

TEST(ToUtf8, ReadsUtf16OfBothByteOrdersWithAndWithoutAMark) {
    const std::string little("<\0\xE9\0\xAC\x20\x3D\xD8\0\xDE", 10);
    const std::string big("\0<\0\xE9\x20\xAC\xD8\x3D\xDE\0", 10);
    const std::string text = "<\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(ToUtf8(little), text);
    EXPECT_EQ(ToUtf8("\xFF\xFE" + little), text);
    EXPECT_EQ(ToUtf8(big), text);
    EXPECT_EQ(ToUtf8("\xFE\xFF" + big), text);
}

TEST(ToUtf8, ReplacesHalvesOfCharacters) {
    EXPECT_EQ(ToUtf8(std::string("<\0\x3D\xD8", 4)), "<\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8(std::string("<\0\0\xDE>\0", 6)), "<\xEF\xBF\xBD>");
    EXPECT_EQ(ToUtf8(std::string("<\0>", 3)), "<");
}

TEST(PlainCollada, RemovesBlanksAroundValues) {
    EXPECT_EQ(PlainCollada("<a n=\" 3 \" m=' x\ty '>\n 1  2\t</a>\n <b/> "),
              "<a n=\"3\" m='x\ty'>1  2</a>\n <b/> ");
}

TEST(PlainCollada, LeavesCommentsAndInstructionsAlone) {
    const std::string text = "<?xml a=\" 1 \"?><!-- > a=\" 1 \" --><![CDATA[ <a> ]]>";
    EXPECT_EQ(PlainCollada(text), text);
}

TEST(PlainCollada, EndsWithTheTextWhereverItEnds) {
    for (const char* const text : {"<", "<a", "<a b=\"", "<!--", "<![CDATA[", "<?", "<a b='1"})
        EXPECT_EQ(PlainCollada(text), text);
}

} // namespace
