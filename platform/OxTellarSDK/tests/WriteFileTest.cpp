#include <OxTellarSDK/AttributeStream.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "FileSizeLimit.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Attribute ReadFile(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

FloatAttribute Counting(int count) {
    std::vector<float> values;
    for (int i = 0; i < count; ++i)
        values.push_back(static_cast<float>(i));
    return FloatAttribute(values, 1);
}

std::vector<std::string> FilesIn(const TempDirectory& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename());
    return names;
}

} // namespace

// Writing never leaves half a file

TEST(WriteAttributeFile, ReplacesTheOldFileAsAWhole) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a"), IntAttribute(1));
    const Attribute old = ReadFile(folder.path("a"));
    WriteAttributeFile(folder.path("a"), IntAttribute(2));
    EXPECT_EQ(old, IntAttribute(1));
    EXPECT_EQ(ReadFile(folder.path("a")), IntAttribute(2));
    EXPECT_THAT(FilesIn(folder), ElementsAre("a"));
}

TEST(WriteAttributeFile, NamesTheFileAndTheReasonWhenItCannotWrite) {
    const TempDirectory folder;
    const std::string inNoFolder = folder.path("no/such/folder/a");
    EXPECT_EQ(ErrorOf([&] { WriteAttributeFile(inNoFolder, IntAttribute(1)); }),
              "Cannot write file \"" + inNoFolder + "\": No such file or directory");
    std::filesystem::create_directory(folder.path("sub"));
    EXPECT_EQ(ErrorOf([&] { WriteAttributeFile(folder.path("sub"), IntAttribute(1)); }),
              "Cannot write file \"" + folder.path("sub") + "\": Is a directory");
    EXPECT_THAT(FilesIn(folder), ElementsAre("sub"));
}

TEST(WriteAttributeFile, NamesTheFileWhenTheValueCannotBeWritten) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { WriteAttributeFile(folder.path("a"), Attribute()); }),
              "Cannot write file \"" + folder.path("a") + "\": the attribute is invalid");
    const GroupAttribute longName({{std::string(70000, 'n'), IntAttribute(1)}}, true);
    EXPECT_EQ(ErrorOf([&] { WriteAttributeFile(folder.path("a"), longName, true); }),
              "Cannot write file \"" + folder.path("a") +
                  "\": a child's name has 70000 bytes; 65535 are possible");
    EXPECT_THAT(FilesIn(folder), IsEmpty());
}

TEST(WriteAttributeFile, LeavesTheOldFileWhenTheDiskIsFull) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a"), IntAttribute(1));
    const auto errorWith = [&](rlim_t limit, bool compress) {
        const FileSizeLimit full(limit);
        return ErrorOf([&] { WriteAttributeFile(folder.path("a"), Counting(250000), compress); });
    };
    const std::string text = "Cannot write file \"" + folder.path("a") + "\": File too large";
    EXPECT_EQ(errorWith(100000, false), text);
    EXPECT_EQ(errorWith(100000, true), text);
    EXPECT_EQ(errorWith(10, false), text); // found out when the last bytes are flushed
    EXPECT_EQ(ReadFile(folder.path("a")), IntAttribute(1));
    EXPECT_THAT(FilesIn(folder), ElementsAre("a"));
}

// Op files

TEST(OpFile, ComesBackAsTheDescription) {
    const TempDirectory folder;
    WriteOpFile(folder.path("plain"), SampleOpTree());
    WriteOpFile(folder.path("packed"), SampleOpTree(), true);
    EXPECT_EQ(ReadOpFile(folder.path("plain")), SampleOpTree());
    EXPECT_EQ(ReadOpFile(folder.path("packed")), SampleOpTree());
}

namespace {

GroupAttribute Op(const std::vector<GroupAttribute::Child>& parts) {
    return GroupAttribute(parts, true);
}

const GroupAttribute::Child kType = {"opType", StringAttribute("Source")};

} // namespace

struct BadTree {
    const char* name;
    GroupAttribute tree;
    const char* complaint;
};

class OpFileOfBadTree : public testing::TestWithParam<BadTree> {};

INSTANTIATE_TEST_SUITE_P(
    OpFile, OpFileOfBadTree,
    testing::Values(
        BadTree{"Invalid", GroupAttribute(), "there is no op in it"},
        BadTree{"Empty", GroupAttribute(true), "there is no op in it"},
        BadTree{"NoGroup", Op({{"a", IntAttribute(1)}}), "the op \"a\" is no group"},
        BadTree{"NoType", Op({{"a", Op({})}}), "the op \"a\" has no \"opType\" string"},
        BadTree{"TypeIsNoString", Op({{"a", Op({{"opType", IntAttribute(1)}})}}),
                "the op \"a\" has no \"opType\" string"},
        BadTree{"TypeIsEmpty", Op({{"a", Op({{"opType", StringAttribute(nullptr, 0, 1)}})}}),
                "the op \"a\" has no \"opType\" string"},
        BadTree{"TwoTypes", Op({{"a", Op({{"opType", StringAttribute({"A", "B"}, 1)}})}}),
                "the op \"a\" has no \"opType\" string"},
        BadTree{"ArgsAreNoGroup", Op({{"a", Op({kType, {"opArgs", IntAttribute(1)}})}}),
                "the op \"a\" has \"opArgs\" that are no group"},
        BadTree{"InputsAreNoStrings", Op({{"a", Op({kType, {"opInputs", IntAttribute(1)}})}}),
                "the op \"a\" has \"opInputs\" that are no strings"},
        BadTree{"UnknownInput",
                Op({{"a", Op({kType})},
                    {"b", Op({kType, {"opInputs", StringAttribute({"a", "", "c"}, 1)}})}}),
                "the op \"b\" has the input \"c\", which is no op"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(OpFileOfBadTree, IsNotWritten) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { WriteOpFile(folder.path("a"), GetParam().tree); }),
              "Cannot write op file \"" + folder.path("a") + "\": " + GetParam().complaint);
    EXPECT_THAT(FilesIn(folder), IsEmpty());
}

TEST_P(OpFileOfBadTree, IsNotRead) {
    if (!GetParam().tree.isValid()) return; // there is no such file
    const TempDirectory folder;
    const std::string path =
        folder.write("a", ContainerBytes::WithKind(ContainerBytes::Write(GetParam().tree), 2));
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(path); }), "File \"" + path + "\": " + GetParam().complaint);
}

TEST(OpFile, ThatHoldsNoGroupIsRefused) {
    const TempDirectory folder;
    const std::string path =
        folder.write("a", ContainerBytes::WithKind(ContainerBytes::Write(IntAttribute(1)), 2));
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(path); }), "File \"" + path + "\" holds no group");
}

TEST(OpFile, ThatIsEmptyOrMissingIsRefused) {
    const TempDirectory folder;
    const std::string path = folder.write("a", "");
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(path); }), "File \"" + path + "\" is no attribute file");
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(folder.path("b")); }),
              "Cannot read file \"" + folder.path("b") + "\": No such file or directory");
}
