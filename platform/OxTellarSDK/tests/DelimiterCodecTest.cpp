#include <OxTellarSDK/DelimiterCodec.h>

#include <random>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using OxAttribute::DelimiterDecode;
using OxAttribute::DelimiterEncode;

TEST(DelimiterEncode, EscapesWhatAnAttributePathCannotHold) {
    EXPECT_EQ(DelimiterEncode("/root/world/geo.1"), "%2Froot%2Fworld%2Fgeo%2E1");
    EXPECT_EQ(DelimiterEncode("100%"), "100%25");
    EXPECT_EQ(DelimiterEncode("a\0b"s), "a%00b");
    EXPECT_EQ(DelimiterEncode("%2E"), "%252E");
}

TEST(DelimiterEncode, LeavesEveryOtherByteAlone) {
    std::string others;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '.' && byte != '/' && byte != '%') others += static_cast<char>(byte);
    }
    EXPECT_EQ(DelimiterEncode(others), others);
    EXPECT_EQ(DelimiterEncode(""), "");
}

TEST(DelimiterDecode, TurnsEscapesOfEitherCaseIntoBytes) {
    EXPECT_EQ(DelimiterDecode("%2E%2e%2F%2f%25%00"), "..//%\0"s);
    EXPECT_EQ(DelimiterDecode("%41%fF"), "A\xFF");
}

TEST(DelimiterDecode, LeavesWhatIsNoEscapeAsItIs) {
    EXPECT_EQ(DelimiterDecode("%"), "%");
    EXPECT_EQ(DelimiterDecode("%2"), "%2");
    EXPECT_EQ(DelimiterDecode("%G0%0G%-1% 1"), "%G0%0G%-1% 1");
    EXPECT_EQ(DelimiterDecode("%%2E"), "%.");
    EXPECT_EQ(DelimiterDecode("plain"), "plain");
    EXPECT_EQ(DelimiterDecode(""), "");
}

TEST(DelimiterDecode, DoesNotDecodeTwice) {
    EXPECT_EQ(DelimiterDecode("%252E"), "%2E");
}

TEST(DelimiterCodec, GivesEveryNameOfTwoBytesBack) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string name = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(DelimiterDecode(DelimiterEncode(name)), name) << first << ' ' << second;
        }
    }
}

TEST(DelimiterCodec, GivesLongNamesMadeOfDelimitersAndDigitsBack) {
    std::mt19937 random(1);
    const std::string alphabet = "%./\0"
                                 "0123456789ABCDEFabcdef"s;
    for (int i = 0; i < 2000; ++i) {
        std::string name;
        for (unsigned length = random() % 40; length > 0; --length)
            name += alphabet[random() % alphabet.size()];
        const std::string encoded = DelimiterEncode(name);
        ASSERT_EQ(encoded.find_first_of("./\0"s), std::string::npos) << encoded;
        ASSERT_EQ(DelimiterDecode(encoded), name) << encoded;
    }
}

} // namespace
