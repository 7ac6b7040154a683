#include <cstddef>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DamagedFiles.h"
#include "TestScenes.h"
#include "checks/FbxCheck.h"

namespace {

using namespace TellarSceneImport;

TEST(DamagedFbx, HasModelsThatEnd) {
    const std::string panel = ContentOf(kData + "/panel.fbx");
    EXPECT_EQ(ReasonOf("a.fbx", Replaced(panel, "C: \"OO\",202,0",
                                         "C: \"OO\",202,0\nC: \"OO\",201,200\n"
                                         "C: \"OO\",200,201")),
              "damaged: a node holds itself");
    EXPECT_EQ(ReasonOf("a.fbx", panel + std::string(100000, '{')),
              "damaged FBX: records are nested too deep");
}

/// Binary FBX of version 7.3: one record.
std::string BinaryRecord(std::size_t at, const std::string& name, const std::string& properties,
                         const std::string& inside = "") {
    const std::size_t end = at + 13 + name.size() + properties.size() + inside.size();
    return BytesOf<std::uint32_t>({static_cast<std::uint32_t>(end), 1,
                                   static_cast<std::uint32_t>(properties.size())}) +
           static_cast<char>(name.size()) + name + properties + inside;
}

const std::string kBinaryFbx =
    std::string("Kaydara FBX Binary  \0\x1a\0", 23) + BytesOf<std::uint32_t>({7300});

std::string Identity(std::int64_t value) {
    return "L" + BytesOf<std::int64_t>({value});
}

void AddRecord(std::string& file, const std::string& name, const std::string& properties) {
    file += BinaryRecord(file.size(), name, properties);
}

void AddConnection(std::string& file, std::int64_t child, std::int64_t parent) {
    AddRecord(file, "C", std::string("S\2\0\0\0OO", 7) + Identity(child) + Identity(parent));
}

TEST(DamagedFbx, HasModelsThatEndInBinaryToo) {
    std::string file = kBinaryFbx;
    AddRecord(file, "Model", Identity(1));
    AddRecord(file, "Model", Identity(2));
    AddConnection(file, 1, 0);
    AddConnection(file, 2, 1);
    EXPECT_NO_THROW(CheckFbx(file, 1000));
    AddConnection(file, 1, 2);
    EXPECT_THAT([&] { CheckFbx(file, 1000); },
                testing::ThrowsMessage<std::runtime_error>("damaged: a node holds itself"));
}

TEST(DamagedFbx, HasRecordsThatFit) {
    EXPECT_THAT(
        [&] { CheckFbx(kBinaryFbx.substr(0, 24), 1000); },
        testing::ThrowsMessage<std::runtime_error>("damaged FBX: it ends inside its header"));
    std::string file = kBinaryFbx;
    AddRecord(file, "Model", Identity(1));
    for (std::size_t length = kBinaryFbx.size() + 1; length < file.size(); ++length)
        EXPECT_THROW(CheckFbx(file.substr(0, length), 1000), std::runtime_error) << length;

    // Each record holds the next one.
    std::string nested = kBinaryFbx;
    const std::size_t end = nested.size() + 300 * 14;
    for (int i = 0; i < 300; ++i)
        nested += BytesOf<std::uint32_t>({static_cast<std::uint32_t>(end), 0, 0}) + "\1x";
    EXPECT_THAT([&] { CheckFbx(nested, 1000); }, testing::ThrowsMessage<std::runtime_error>(
                                                     "damaged FBX: records are nested too deep"));
}

/// An array property of that many doubles, of which some bytes are there.
std::string Doubles(std::uint32_t count, bool isDeflated, const std::string& bytes) {
    return "d" +
           BytesOf<std::uint32_t>({count, isDeflated, static_cast<std::uint32_t>(bytes.size())}) +
           bytes;
}

TEST(DamagedFbx, AsksForNoMoreNumbersThanItHasBytesFor) {
    const auto check = [](const std::string& properties) {
        std::string file = kBinaryFbx;
        AddRecord(file, "Vertices", properties);
        CheckFbx(file, 1000);
    };
    const auto refusal = testing::ThrowsMessage<std::runtime_error>(
        "damaged FBX: an array claims to hold more than the file");
    EXPECT_NO_THROW(check(Doubles(2, false, std::string(16, '\0'))));
    EXPECT_NO_THROW(check(Doubles(258, true, "xx")));
    EXPECT_THAT([&] { check(Doubles(3, false, std::string(16, '\0'))); }, refusal);
    EXPECT_THAT([&] { check(Doubles(259, true, "xx")); }, refusal);
    EXPECT_THAT([&] { check(Doubles(0xffffffff, true, std::string(99, 'x'))); }, refusal);
    // Would be 8 bytes if they were counted in 32 bits.
    EXPECT_THAT([&] { check(Doubles(0x20000001, false, std::string(8, 'x'))); }, refusal);

    const std::string panel = ContentOf(kData + "/panel.fbx");
    EXPECT_EQ(ReasonOf("a.fbx", Replaced(panel, "*12", "*4000000000")),
              "damaged FBX: an array claims to hold more than the file");
}

TEST(DamagedFbx, HasPropertiesThatFitTheirRecord) {
    const auto check = [](const std::string& properties) {
        std::string file = kBinaryFbx;
        AddRecord(file, "P", properties);
        CheckFbx(file, 1000);
    };
    EXPECT_NO_THROW(check(std::string("S\1\0\0\0aC\1Y\0\0", 11) + Identity(7)));
    EXPECT_THAT([&] { check(Identity(7).substr(0, 8)); },
                testing::ThrowsMessage<std::runtime_error>(
                    "damaged FBX: a property does not fit its record"));
    EXPECT_THAT([&] { check("S\xff\xff\xff\xffx"); },
                testing::ThrowsMessage<std::runtime_error>(
                    "damaged FBX: a property does not fit its record"));
    EXPECT_THAT([&] { check("?"); }, testing::ThrowsMessage<std::runtime_error>(
                                         "damaged FBX: a property of an unknown type"));
}
} // namespace
