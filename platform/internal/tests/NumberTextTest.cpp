#include "text/NumberText.h"

#include <limits>
#include <optional>

#include <gtest/gtest.h>

namespace {

using namespace TellarInternal;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <typename T>
std::optional<T> Read(std::string_view text) {
    T value{};
    return ReadNumber(text, value) ? std::optional<T>(value) : std::nullopt;
}

template <typename T>
std::optional<T> ReadExact(std::string_view text) {
    T value{};
    return ReadExactNumber(text, value) ? std::optional<T>(value) : std::nullopt;
}

template <typename T>
std::string Exact(T value) {
    std::string text;
    AppendExactNumber(text, value);
    return text;
}

TEST(NumberText, ReadsFiniteNumbersThatFillTheText) {
    EXPECT_EQ(Read<int>("-12"), -12);
    EXPECT_EQ(Read<double>("1e3"), 1000.0);
    EXPECT_EQ(Read<double>(".5"), 0.5);
    for (const char* text : {"", " 1", "1 ", "+1", "1x", "0x10", "1e400", "inf", "-inf", "nan"})
        EXPECT_EQ(Read<double>(text), std::nullopt) << text;
    EXPECT_EQ(Read<int>("1.0"), std::nullopt);
    EXPECT_EQ(Read<std::int32_t>("2147483648"), std::nullopt);
    EXPECT_EQ(Read<std::uint32_t>("-1"), std::nullopt);
}

TEST(NumberText, KeepsInfinitiesInTheExactForm) {
    EXPECT_EQ(Exact(kInfinity), "inf");
    EXPECT_EQ(Exact(-kInfinity), "-inf");
    EXPECT_EQ(ReadExact<double>("inf"), kInfinity);
    EXPECT_EQ(ReadExact<double>("-inf"), -kInfinity);
    for (const char* text : {"infinity", "+inf", "INF", "inf "})
        EXPECT_EQ(ReadExact<double>(text), std::nullopt) << text;
    EXPECT_EQ(ReadExact<int>("inf"), std::nullopt);
}

TEST(NumberText, KeepsAllBitsOfANanInTheExactForm) {
    for (const char* text : {"nan:7fc00000", "nan:ff800001"})
        EXPECT_EQ(Exact(ReadExact<float>(text).value()), text);
    EXPECT_EQ(Exact(ReadExact<double>("nan:7ff8000000000001").value()), "nan:7ff8000000000001");
    for (const char* text :
         {"nan", "nan:", "nan:7fc0000", "nan:7fc000000", "nan:7fc0000g", "nan:7f800000", "nan(1)"})
        EXPECT_EQ(ReadExact<float>(text), std::nullopt) << text;
}

TEST(NumberText, PadsFramesBehindTheirSigns) {
    EXPECT_EQ(PaddedFrame(7, 0), "7");
    EXPECT_EQ(PaddedFrame(7, 4), "0007");
    EXPECT_EQ(PaddedFrame(-7, 4), "-007");
    EXPECT_EQ(PaddedFrame(12345, 4), "12345");
    EXPECT_EQ(PaddedFrame(std::numeric_limits<int>::min(), 12), "-02147483648");
}

} // namespace
