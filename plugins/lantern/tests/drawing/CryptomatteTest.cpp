#include "drawing/Cryptomatte.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace lantern;

TEST(MurmurHash, GivesThePublishedValues) {
    EXPECT_EQ(MurmurHash(""), 0u);
    EXPECT_EQ(MurmurHash("test"), 0xba6bd213u);
    EXPECT_EQ(MurmurHash("Hello, world!"), 0xc0363e43u);
    EXPECT_EQ(MurmurHash("The quick brown fox jumps over the lazy dog"), 0x2e4ff723u);
    EXPECT_EQ(MurmurHash("\xff\xff"), MurmurHash(std::string(2, '\xff')));
}

TEST(MatteId, IsTheHashIfThatIsANormalFloat) {
    EXPECT_EQ(MatteId("test"), 0xba6bd213u);
}

TEST(MatteId, HasAnotherExponentIfTheHashIsNoNormalFloat) {
    EXPECT_EQ(MatteId(""), 0x00800000u); // the exponent of the hash is 0
    int changed = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::string name = "/root/world/geo/thing" + std::to_string(i);
        const std::uint32_t exponent = MatteId(name) >> 23 & 255;
        ASSERT_NE(exponent, 0u);
        ASSERT_NE(exponent, 255u);
        changed += MatteId(name) != MurmurHash(name) ? 1 : 0;
    }
    EXPECT_GT(changed, 10); // one of 128
    EXPECT_LT(changed, 80);
}

TEST(MatteKey, HasSevenDigitsOfTheHashOfTheMattesName) {
    EXPECT_EQ(MatteKey("test"), "cryptomatte/ba6bd21/");
}

TEST(Manifest, IsOneJsonObject) {
    EXPECT_EQ(ManifestText({}), "{}");
    EXPECT_EQ(ManifestText({{"a", 1}, {"b\"\\\n", 0xdeadbeef}}),
              R"({"a":"00000001","b\"\\\u000a":"deadbeef"})");
}

TEST(Manifest, IsReadAsItWasWritten) {
    const Manifest manifest{{"", 7}, {"a \"b\" \\ \x01 \xc3\xa4", 0xffffffff}, {"c", 0}};
    EXPECT_EQ(ManifestOf(ManifestText(manifest)), manifest);
    EXPECT_EQ(ManifestOf("{}"), Manifest());
}

TEST(Manifest, IsNotReadFromAnyOtherText) {
    for (const char* text :
         {"", "{", "}", "[]", "{\"a\"}", "{\"a\":1}", "{\"a\":\"\"}", "{\"a\":\"xyz\"}",
          "{\"a\":\"123456789\"}", "{\"a\":\"1\"} ", "{\"a\":\"1\",}", "{\"a\":\"1\"\"b\":\"2\"}",
          "{\"a\":\"1\",\"a\":\"2\"}", "{\"\\", "{\"\\u00", "{\"\\u0041\":\"1\"}",
          "{\"\\n\":\"1\"}"})
        EXPECT_FALSE(ManifestOf(text)) << text;
    const std::string whole = "{\"a\\u000a\":\"12\"}";
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(ManifestOf(whole.substr(0, length))) << length;
}

TEST(AssetOf, IsTheFourthPartOfAPath) {
    EXPECT_EQ(AssetOf("/root/world/geo/pony/body/leg"), "/root/world/geo/pony");
    EXPECT_EQ(AssetOf("/root/world/geo/pony"), "/root/world/geo/pony");
    EXPECT_EQ(AssetOf("/root/world"), "/root/world");
    EXPECT_EQ(AssetOf(""), "");
}

} // namespace
