#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <zstd.h>

#include <OxTellarSDK/AttributeSuite.h>

#include "AttributePrinter.h"
#include "CollidingNames.h"
#include "ContainerBytes.h"
#include "RandomAttribute.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

template <typename Body>
std::string ErrorOf(Body body) {
    try {
        body();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

Attribute ReadFile(const std::string& path, bool decompress = true) {
    FileStream stream(path, decompress);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

/// Equal, and the same bytes when what was read is written again.
void ExpectRoundTrip(const Attribute& attribute) {
    const std::string bytes = ContainerBytes::Write(attribute);
    const Attribute back = ContainerBytes::Read(bytes);
    EXPECT_EQ(back.getHash(), attribute.getHash());
    EXPECT_EQ(back.getXML(), attribute.getXML());
    EXPECT_TRUE(ContainerBytes::Write(back) == bytes);
}

GroupAttribute ChainOfGroups(int levels) {
    GroupAttribute group({{"leaf", IntAttribute(7)}}, true);
    for (int i = 1; i < levels; ++i)
        group = GroupAttribute({{"g", group}}, i % 2 == 0);
    return group;
}

FloatAttribute Counting(int count, float first = 0) {
    std::vector<float> values;
    for (int i = 0; i < count; ++i)
        values.push_back(first + static_cast<float>(i));
    return FloatAttribute(values, 1);
}

std::string Compressed(const std::string& bytes) {
    std::string packed(ZSTD_compressBound(bytes.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), bytes.data(), bytes.size(), 3));
    return packed;
}

std::vector<std::string> FilesIn(const TempDirectory& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename());
    return names;
}

} // namespace

// Round trips

struct NamedValue {
    const char* name;
    Attribute value;
};

class AttributeFileOf : public testing::TestWithParam<NamedValue> {};

INSTANTIATE_TEST_SUITE_P(
    AttributeFile, AttributeFileOf,
    testing::Values(
        NamedValue{"Null", NullAttribute()}, NamedValue{"Int", IntAttribute(-5)},
        NamedValue{"Float", FloatAttribute({1, -0.0f, std::nanf("7")}, 3)},
        NamedValue{"Double", DoubleAttribute(1e-310)}, NamedValue{"NoInts", IntAttribute({}, 3)},
        NamedValue{"NoFloats", FloatAttribute({}, 1)},
        NamedValue{"NoDoubles", DoubleAttribute({}, 2)},
        NamedValue{"NoStrings", StringAttribute(nullptr, 0, 2)},
        NamedValue{"OneEmptyString", StringAttribute("")},
        NamedValue{"StringsWithNuls", StringAttribute({std::string_view("\0a\0", 3), ""}, 2)},
        NamedValue{"IntSamples", IntAttribute({{-1.5f, {1, 2}}, {0.0f, {3, 4}}}, 2)},
        NamedValue{"DoubleSamples", DoubleAttribute({{1.0f, {1}}, {2.0f, {2}}, {3.0f, {3}}}, 1)},
        NamedValue{"EmptySamples", FloatAttribute({{1.0f, {}}, {2.0f, {}}}, 1)},
        NamedValue{"StringSamples", StringAttribute({{0.5f, {"a", ""}}, {1.5f, {"", "b"}}}, 1)},
        NamedValue{"OneSampleElsewhere",
                   IntAttribute(std::map<float, std::vector<int>>{{2.0f, {1}}}, 1)},
        NamedValue{"OneSampleAtMinusZero",
                   IntAttribute(std::map<float, std::vector<int>>{{-0.0f, {1}}}, 1)},
        NamedValue{"EmptyGroup", GroupAttribute(true)},
        NamedValue{"EmptyGroupThatDoesNotInherit", GroupAttribute(false)},
        NamedValue{
            "GroupOfEmptyGroups",
            GroupAttribute({{"a", GroupAttribute(true)}, {"b", GroupAttribute(false)}}, true)},
        NamedValue{"EmptyAndOddNames", GroupAttribute({{"", IntAttribute(1)},
                                                       {".", IntAttribute(2)},
                                                       {std::string("\0\0", 2), IntAttribute(3)}},
                                                      true)},
        NamedValue{"TheSample", SampleValue()}, NamedValue{"OpTree", SampleOpTree()}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_P(AttributeFileOf, ComesBackEqual) {
    ExpectRoundTrip(GetParam().value);
}

TEST(AttributeFile, RandomValuesComeBackEqual) {
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE(seed);
        ExpectRoundTrip(RandomAttribute(seed).make(4));
    }
}

TEST(AttributeFile, ReadsItsQueriesInPlace) {
    const GroupAttribute value(ContainerBytes::Read(ContainerBytes::Write(SampleValue())));
    EXPECT_EQ(value.getNumberOfChildren(), 8);
    EXPECT_EQ(value.getChildName(6), "a.dot");
    EXPECT_EQ(value.findChild("texts"), 5);
    EXPECT_EQ(IntAttribute(value.getChildByName("many.child4")).getValue(), 1);
    EXPECT_FALSE(value.getChildByName("many.child10").isValid());
    EXPECT_FALSE(GroupAttribute(value.getChildByIndex(6)).getGroupInherit());
    const StringAttribute strings(value.getChildByName("string"));
    EXPECT_EQ(strings.getNearestSample(0)[2], std::string_view("a\0b", 3));
    const IntAttribute samples(value.getChildByName("samples"));
    EXPECT_EQ(samples.getSampleTime(0), -0.25f);
    EXPECT_EQ(samples.getNearestSample(0.4f)[1], 6);
}

TEST(AttributeFile, GroupsMayBeAsDeepAsGroupsCanBe) {
    ExpectRoundTrip(ChainOfGroups(kMaxGroupDepth));
}

TEST(AttributeFile, ALongerChainCannotBeMadeFromWhatWasRead) {
    const Attribute deepest = ContainerBytes::Read(ContainerBytes::Write(ChainOfGroups(2048)));
    EXPECT_EQ(ErrorOf([&] {
                  GroupAttribute({{"g", deepest}}, true);
              }),
              "Groups cannot be nested deeper than 2048 levels");
}

class AttributeFileOfArray : public testing::TestWithParam<int> {};

// Around one and two blocks of 64 KiB, header of the file and of the value included.
INSTANTIATE_TEST_SUITE_P(AttributeFile, AttributeFileOfArray,
                         testing::Values(16355, 16356, 16359, 16360, 16361, 16384, 32743, 32744,
                                         32745, 250000));

TEST_P(AttributeFileOfArray, ComesBackEqualAcrossBlocks) {
    ExpectRoundTrip(Counting(GetParam()));
    ExpectRoundTrip(GroupAttribute({{"a", Counting(GetParam())}, {"b", IntAttribute(1)}}, true));
}

TEST(AttributeFile, ManyNamesComeBackInOrder) {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < 20000; ++i)
        children.emplace_back("name_" + std::to_string(i * 7919 % 20000), IntAttribute(i));
    const GroupAttribute group(children, true);
    const GroupAttribute back(ContainerBytes::Read(ContainerBytes::Write(group)));
    EXPECT_EQ(back, group);
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(back.findChild(children[static_cast<std::size_t>(i)].first), i);
    EXPECT_EQ(back.findChild("name_20000"), -1);
}

TEST(AttributeFile, AFewNamesMayHaveOneHash) {
    std::vector<GroupAttribute::Child> children;
    for (const std::string& name : CollidingNames::make(20))
        children.emplace_back(name, IntAttribute(static_cast<int>(children.size())));
    const GroupAttribute group(children, true);
    const GroupAttribute back(ContainerBytes::Read(ContainerBytes::Write(group)));
    EXPECT_EQ(back, group);
    for (std::size_t i = 0; i < children.size(); ++i)
        EXPECT_EQ(back.findChild(children[i].first), static_cast<std::int64_t>(i));
}

TEST(AttributeFile, ANameMayHave65535BytesAndNoMore) {
    ExpectRoundTrip(GroupAttribute({{std::string(65535, 'n'), IntAttribute(1)}}, true));
    const GroupAttribute tooLong({{std::string(65536, 'n'), IntAttribute(1)}}, true);
    EXPECT_THAT(ErrorOf([&] { ContainerBytes::Write(tooLong); }),
                HasSubstr("a child's name has 65536 bytes; 65535 are possible"));
}

TEST(AttributeFile, EqualValuesAndNamesAreWrittenOnce) {
    std::vector<GroupAttribute::Child> children;
    for (int i = 0; i < 100; ++i)
        children.emplace_back("leaf" + std::to_string(i),
                              GroupAttribute({{"points", Counting(10000)}}, true));
    const GroupAttribute group(children, true);
    EXPECT_LT(ContainerBytes::Write(group).size(), 60000u);
    ExpectRoundTrip(group);
}

TEST(AttributeFile, TheHashDoesNotDependOnWhereAValueIsStored) {
    const GroupAttribute memory = SampleValue();
    const GroupAttribute file(ContainerBytes::Read(ContainerBytes::Write(memory)));
    for (std::int64_t i = 0; i < memory.getNumberOfChildren(); ++i)
        EXPECT_EQ(file.getChildByIndex(i).getHash(), memory.getChildByIndex(i).getHash());
    const GroupAttribute mixed({{"int", file.getChildByIndex(0)}, {"own", IntAttribute(1)}}, true);
    EXPECT_EQ(mixed,
              GroupAttribute({{"int", memory.getChildByIndex(0)}, {"own", IntAttribute(1)}}, true));
}

TEST(AttributeFile, ValuesOfAFileCanBePartsOfNewGroupsAndNewFiles) {
    const GroupAttribute file(ContainerBytes::Read(ContainerBytes::Write(SampleValue())));
    ExpectRoundTrip(GroupAttribute({{"old", file}, {"new", IntAttribute(1)}}, false));
}

// Streams of the caller's own

namespace {

struct Dribble {
    std::string_view rest;
    std::int64_t step;

    static std::int64_t Read(void* stream, void* buffer, std::int64_t count) {
        auto& dribble = *static_cast<Dribble*>(stream);
        return ContainerBytes::ReadSome(&dribble.rest, buffer, std::min(count, dribble.step));
    }
};

} // namespace

TEST(AttributeStream, IsReadInWhateverPiecesItComes) {
    const std::string bytes = ContainerBytes::Write(SampleValue());
    for (const std::int64_t step : {1, 7, 64, 100000}) {
        Dribble dribble{bytes, step};
        EXPECT_EQ(Attribute::readAttributeStream(&dribble, &Dribble::Read, 0), SampleValue());
    }
}

TEST(AttributeStream, IsReadWhenItIsLargerThanAnyFirstGuess) {
    const FloatAttribute large = Counting(500000);
    const std::string bytes = ContainerBytes::Write(large);
    Dribble dribble{bytes, 100001};
    EXPECT_EQ(Attribute::readAttributeStream(&dribble, &Dribble::Read, 0), large);
}

TEST(AttributeStream, WithoutAByteGivesAnInvalidAttribute) {
    EXPECT_FALSE(ContainerBytes::Read("").isValid());
}

TEST(AttributeStream, AFailingReadIsAnError) {
    const auto fail = [](void*, void*, std::int64_t) { return std::int64_t(-1); };
    EXPECT_EQ(ErrorOf([&] { Attribute::readAttributeStream(nullptr, fail, 0); }),
              "Cannot read the attribute stream: the stream failed");
}

TEST(AttributeStream, AReadThatClaimsMoreThanItWasAskedForIsAnError) {
    const auto boast = [](void*, void*, std::int64_t count) { return count + 1; };
    EXPECT_EQ(ErrorOf([&] { Attribute::readAttributeStream(nullptr, boast, 0); }),
              "Cannot read the attribute stream: the stream failed");
}

TEST(AttributeStream, AnExceptionFromTheReaderPassesThrough) {
    const auto fail = [](void*, void*, std::int64_t) -> std::int64_t {
        throw std::runtime_error("the cable came out");
    };
    EXPECT_EQ(ErrorOf([&] { Attribute::readAttributeStream(nullptr, fail, 0); }),
              "the cable came out");
}

TEST(AttributeStream, FlagsOtherThanZeroAreRefused) {
    std::string_view nothing;
    EXPECT_THROW(Attribute::readAttributeStream(&nothing, &ContainerBytes::ReadSome, 1),
                 std::invalid_argument);
}

TEST(AttributeStream, AWriterThatTakesTooLittleIsAnError) {
    const auto lazy = [](void*, const void*, std::int64_t count) { return count - 1; };
    EXPECT_THAT(ErrorOf([&] { SampleValue().writeAttributeStream(nullptr, lazy); }),
                HasSubstr("not all bytes were taken"));
    const auto broken = [](void*, const void*, std::int64_t) { return std::int64_t(-1); };
    EXPECT_THAT(ErrorOf([&] { SampleValue().writeAttributeStream(nullptr, broken); }),
                HasSubstr("not all bytes were taken"));
}

TEST(AttributeStream, AnInvalidAttributeCannotBeWritten) {
    EXPECT_THAT(ErrorOf([] { ContainerBytes::Write(Attribute()); }),
                HasSubstr("the attribute is invalid"));
}

TEST(AttributeStream, ErrorsSpeakOfTheStreamWhenThereIsNoFile) {
    EXPECT_EQ(ErrorOf([] { ContainerBytes::Read("no attribute file at all"); }),
              "the attribute stream is no attribute file");
}

// Files

TEST(AttributeFile, IsWrittenAndReadPlain) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a.oxa"), SampleValue());
    EXPECT_EQ(ReadFile(folder.path("a.oxa"), true), SampleValue());
    EXPECT_EQ(ReadFile(folder.path("a.oxa"), false), SampleValue());
    EXPECT_EQ(folder.read("a.oxa"), ContainerBytes::Write(SampleValue()));
}

TEST(AttributeFile, IsWrittenAndReadCompressed) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a.oxa"), SampleValue(), true);
    EXPECT_EQ(ReadFile(folder.path("a.oxa")), SampleValue());
    EXPECT_LT(folder.read("a.oxa").size(), ContainerBytes::Write(SampleValue()).size());
    EXPECT_EQ(ErrorOf([&] { ReadFile(folder.path("a.oxa"), false); }),
              "File \"" + folder.path("a.oxa") + "\" is no attribute file");
}

TEST(AttributeFile, LargeOnesAreWrittenAndReadCompressed) {
    const TempDirectory folder;
    const FloatAttribute large = Counting(3000000);
    WriteAttributeFile(folder.path("a.oxa"), large, true);
    EXPECT_EQ(ReadFile(folder.path("a.oxa")), large);
}

TEST(AttributeFile, HandlesOutliveTheStreamAndTheFile) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a.oxa"), SampleValue());
    const Attribute value = ReadFile(folder.path("a.oxa"));
    std::filesystem::remove(folder.path("a.oxa"));
    EXPECT_EQ(value, SampleValue());
}

TEST(AttributeFile, AnEmptyFileGivesAnInvalidAttribute) {
    const TempDirectory folder;
    EXPECT_FALSE(ReadFile(folder.write("empty", "")).isValid());
}

TEST(AttributeFile, IsReadFromWhereTheStreamStands) {
    const TempDirectory folder;
    const std::string path = folder.write("behind", "12345" + ContainerBytes::Write(SampleValue()));
    FileStream stream(path, false);
    char skipped[5];
    ASSERT_EQ(FileStream::read(&stream, skipped, 5), 5);
    EXPECT_EQ(Attribute::readAttributeStream(&stream, &FileStream::read, 0), SampleValue());
}

TEST(AttributeFile, AFileReadToItsEndHoldsNothingMore) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a.oxa"), SampleValue());
    FileStream stream(folder.path("a.oxa"), true);
    Attribute::readAttributeStream(&stream, &FileStream::read, 0);
    EXPECT_FALSE(Attribute::readAttributeStream(&stream, &FileStream::read, 0).isValid());
}

TEST(AttributeFile, IsReadThroughCallbacksThatWrapAFileStream) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a.oxa"), Counting(2000000), false);
    FileStream stream(folder.path("a.oxa"), true);
    const auto wrapper = [](void* file, void* buffer, std::int64_t count) {
        return FileStream::read(file, buffer, std::min<std::int64_t>(count, 1000));
    };
    EXPECT_EQ(Attribute::readAttributeStream(&stream, wrapper, 0), Counting(2000000));
}

TEST(AttributeFile, OtherFilesAreRefusedByName) {
    const TempDirectory folder;
    const std::string path = folder.write("notes.txt", std::string(5000, 'x'));
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }), "File \"" + path + "\" is no attribute file");
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(path); }), "File \"" + path + "\" is no attribute file");
}

TEST(AttributeFile, BytesBehindItAreRefused) {
    const TempDirectory folder;
    const std::string path = folder.write("a", ContainerBytes::Write(SampleValue()) + "more");
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "File \"" + path + "\" is damaged: it ends early, or other bytes follow it");
}

TEST(AttributeFile, OfAnotherVersionIsRefused) {
    const TempDirectory folder;
    const std::string bytes = ContainerBytes::WithVersion(ContainerBytes::Write(SampleValue()), 2);
    const std::string path = folder.write("a", bytes);
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "File \"" + path + "\" has format version 2, of which this program knows nothing");
}

TEST(AttributeFile, OfNoKnownKindIsRefused) {
    const TempDirectory folder;
    const std::string bytes = ContainerBytes::WithKind(ContainerBytes::Write(SampleValue()), 3);
    const std::string path = folder.write("a", bytes);
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "File \"" + path + "\" is damaged: it is of no known kind");
    EXPECT_EQ(ProbeFile(path), FileKind::Unknown);
}

TEST(AttributeFile, AndOpFilesAreNotMixedUp) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a"), SampleOpTree());
    WriteOpFile(folder.path("b"), SampleOpTree());
    EXPECT_EQ(ErrorOf([&] { ReadOpFile(folder.path("a")); }),
              "File \"" + folder.path("a") + "\" is an attribute stream, not a serialised op file");
    EXPECT_EQ(ErrorOf([&] { ReadFile(folder.path("b")); }),
              "File \"" + folder.path("b") + "\" is a serialised op file, not an attribute stream");
}

TEST(AttributeFile, IsToldFromOpFilesAndOthersByProbing) {
    const TempDirectory folder;
    WriteAttributeFile(folder.path("a"), SampleValue());
    WriteAttributeFile(folder.path("az"), SampleValue(), true);
    WriteOpFile(folder.path("b"), SampleOpTree());
    WriteOpFile(folder.path("bz"), SampleOpTree(), true);
    EXPECT_EQ(ProbeFile(folder.path("a")), FileKind::AttributeStream);
    EXPECT_EQ(ProbeFile(folder.path("az")), FileKind::AttributeStream);
    EXPECT_EQ(ProbeFile(folder.path("b")), FileKind::OpFile);
    EXPECT_EQ(ProbeFile(folder.path("bz")), FileKind::OpFile);
    EXPECT_EQ(ProbeFile(folder.write("text", "some text")), FileKind::Unknown);
    EXPECT_EQ(ProbeFile(folder.write("long", std::string(1000, 'x'))), FileKind::Unknown);
    EXPECT_EQ(ProbeFile(folder.write("empty", "")), FileKind::Unknown);
    EXPECT_EQ(ProbeFile(folder.write("start", "OxAttr\x1a\n")), FileKind::Unknown);
    EXPECT_EQ(ProbeFile(folder.write("textz", Compressed("some text"))), FileKind::Unknown);
}

TEST(AttributeFile, ProbingAFileThatCannotBeReadIsAnError) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { ProbeFile(folder.path("none")); }),
              "Cannot read file \"" + folder.path("none") + "\": No such file or directory");
    EXPECT_EQ(ErrorOf([&] { ProbeFile(folder.path()); }),
              "Cannot read file \"" + folder.path() + "\": it is a directory");
    const std::string cut = folder.write("cut", Compressed(std::string(1000, 'x')).substr(0, 12));
    EXPECT_THAT(ErrorOf([&] { ProbeFile(cut); }), HasSubstr("\"" + cut + "\""));
}

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

namespace {

/// No file of this process can grow beyond a size while this lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &oldLimit);
        const rlimit limit{bytes, oldLimit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &oldLimit);
        std::signal(SIGXFSZ, oldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit oldLimit{};
    void (*oldHandler)(int);
};

} // namespace

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
    [](const auto& info) { return std::string(info.param.name); });

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

// FileStream

namespace {

std::string ReadAll(FileStream& stream, std::int64_t step) {
    std::string bytes;
    std::vector<char> buffer(static_cast<std::size_t>(step));
    while (const std::int64_t got = FileStream::read(&stream, buffer.data(), step))
        bytes.append(buffer.data(), static_cast<std::size_t>(got));
    return bytes;
}

} // namespace

TEST(FileStream, ReadsPlainFilesAsTheyAre) {
    const TempDirectory folder;
    const std::string path = folder.write("a", "twelve bytes");
    FileStream stream(path, true);
    EXPECT_EQ(stream.getPath(), path);
    EXPECT_EQ(ReadAll(stream, 5), "twelve bytes");
    char byte;
    EXPECT_EQ(FileStream::read(&stream, &byte, 1), 0);
    EXPECT_EQ(FileStream::read(&stream, &byte, 0), 0);
    EXPECT_EQ(FileStream::read(&stream, &byte, -5), 0);
}

TEST(FileStream, ReadsFilesShorterThanAnyMagicNumber) {
    const TempDirectory folder;
    for (const std::string content : {"", "(", "(\xb5", "(\xb5/"}) {
        FileStream stream(folder.write("a", content), true);
        EXPECT_EQ(ReadAll(stream, 10), content);
    }
}

TEST(FileStream, DecompressesOnlyWhenAskedTo) {
    const TempDirectory folder;
    const std::string text(100000, 't');
    const std::string packed = Compressed(text);
    const std::string path = folder.write("a", packed);
    FileStream decompressed(path, true), plain(path, false);
    EXPECT_EQ(ReadAll(decompressed, 777), text);
    EXPECT_EQ(ReadAll(plain, 777), packed);
}

TEST(FileStream, DecompressesFramesThatFollowEachOther) {
    const TempDirectory folder;
    const std::string skippable("\x50\x2a\x4d\x18\x03\x00\x00\x00xyz", 11);
    FileStream stream(
        folder.write("a", Compressed("one ") + Compressed("") + skippable + Compressed("two")),
        true);
    EXPECT_EQ(ReadAll(stream, 2), "one two");
}

TEST(FileStream, RefusesCompressedDataThatEndsEarlyWhereverItIsCut) {
    const TempDirectory folder;
    const std::string packed = Compressed(ContainerBytes::Write(SampleValue()));
    for (std::size_t length = 5; length < packed.size(); ++length) {
        const std::string path = folder.write("a", packed.substr(0, length));
        FileStream stream(path, true);
        EXPECT_EQ(ErrorOf([&] { ReadAll(stream, 4096); }),
                  "Cannot read file \"" + path + "\": the compressed data ends early")
            << length;
    }
}

TEST(FileStream, RefusesBytesBehindCompressedData) {
    const TempDirectory folder;
    const std::string path = folder.write("a", Compressed("text") + "garbage");
    FileStream stream(path, true);
    EXPECT_THAT(ErrorOf([&] { ReadAll(stream, 4096); }),
                StartsWith("Cannot read file \"" + path + "\": "));
}

TEST(FileStream, RefusesASmallFileThatWouldFillTheMemory) {
    const TempDirectory folder;
    const std::string path = folder.write("bomb", Compressed(std::string(200 << 20, '\0')));
    ASSERT_LT(std::filesystem::file_size(path), 30000u);
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "Cannot read file \"" + path +
                  "\": it decompresses to more than 2000 times its size");
}

TEST(FileStream, NamesAMissingFileAndADirectory) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { FileStream(folder.path("none"), false); }),
              "Cannot read file \"" + folder.path("none") + "\": No such file or directory");
    EXPECT_EQ(ErrorOf([&] { FileStream(folder.path(), true); }),
              "Cannot read file \"" + folder.path() + "\": it is a directory");
    EXPECT_EQ(ErrorOf([&] { FileStream("", true); }),
              "Cannot read file \"\": No such file or directory");
}

// Large files are mapped, and read as they are used

namespace {

constexpr int kLargeCount = 600000; // floats: 2.4 MB

/// Three arrays of 2.4 MB each, with small values and groups around them.
GroupAttribute LargeValue() {
    return GroupAttribute({{"before", IntAttribute(1)},
                           {"a", Counting(kLargeCount, 0)},
                           {"group", GroupAttribute({{"b", Counting(kLargeCount, 1000000)},
                                                     {"text", StringAttribute("small text")}},
                                                    true)},
                           {"c", Counting(kLargeCount, 2000000)},
                           {"after", IntAttribute(2)}},
                          true);
}

bool IsMapped(const std::string& path) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.size() > path.size() &&
            line.compare(line.size() - path.size(), path.size(), path) == 0)
            return true;
    return false;
}

int NumberOfMappings(const std::string& path) {
    int count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find(path) != std::string::npos;
    return count;
}

/// Opening any file closes those that nobody holds.
void CollectUnusedFiles() {
    ContainerBytes::Read(ContainerBytes::Write(IntAttribute(1)));
}

/// Where the bytes of a float lie in the file.
std::size_t OffsetOf(const std::string& file, float value) {
    const std::string bytes(reinterpret_cast<const char*>(&value), sizeof value);
    std::size_t offset = file.find(bytes);
    while (offset != std::string::npos && offset % 4 != 0)
        offset = file.find(bytes, offset + 1);
    return offset;
}

class LargeAttributeFile : public testing::Test {
protected:
    LargeAttributeFile() : path(folder.path("large.oxa")) {
        WriteAttributeFile(path, LargeValue());
    }
    ~LargeAttributeFile() override { CollectUnusedFiles(); }

    /// Changes one byte of the float that lies in the middle of array `first`.
    void damageArray(float first) {
        std::string bytes = folder.read("large.oxa");
        bytes[OffsetOf(bytes, first + kLargeCount / 2)] ^= 1;
        folder.write("large.oxa", bytes);
    }

    GroupAttribute read() const { return GroupAttribute(ReadFile(path)); }

    TempDirectory folder;
    std::string path;
};

} // namespace

TEST_F(LargeAttributeFile, IsMappedAndReadsEqual) {
    ASSERT_GT(std::filesystem::file_size(path), FileBuffer::kMapThreshold);
    const GroupAttribute value = read();
    EXPECT_TRUE(IsMapped(path));
    EXPECT_EQ(value, LargeValue());
    EXPECT_EQ(value.getHash(), LargeValue().getHash());
    EXPECT_EQ(IntAttribute(value.getChildByName("after")).getValue(), 2);
}

TEST_F(LargeAttributeFile, IsClosedWhenNobodyHoldsAnythingOfIt) {
    Attribute leaf;
    {
        const GroupAttribute value = read();
        leaf = value.getChildByName("group.text");
    }
    CollectUnusedFiles();
    EXPECT_TRUE(IsMapped(path));
    EXPECT_EQ(StringAttribute(leaf).getValue(), "small text");
    const Attribute second = leaf;
    leaf = Attribute();
    CollectUnusedFiles();
    EXPECT_TRUE(IsMapped(path));
    const_cast<Attribute&>(second) = Attribute();
    CollectUnusedFiles();
    EXPECT_FALSE(IsMapped(path));
}

TEST_F(LargeAttributeFile, SamplesAndGroupsKeepItOpen) {
    ConstSample<float> sample = FloatAttribute(read().getChildByName("a")).getNearestSample(0);
    GroupAttribute group({{"x", read().getChildByName("c")}}, true);
    CollectUnusedFiles();
    EXPECT_EQ(sample[10], 10.0f);
    EXPECT_EQ(FloatAttribute(group.getChildByName("x")).getValue(), 2000000.0f);
    sample = ConstSample<float>();
    CollectUnusedFiles();
    EXPECT_TRUE(IsMapped(path));
    group = GroupAttribute();
    CollectUnusedFiles();
    EXPECT_FALSE(IsMapped(path));
}

TEST_F(LargeAttributeFile, OpenedTwiceIsMappedOnceAndShared) {
    const GroupAttribute first = read(), second = read();
    EXPECT_EQ(first.getHandle(), second.getHandle());
    EXPECT_EQ(NumberOfMappings(path), 1);
    EXPECT_THAT(ErrorOf([&] { ReadOpFile(path); }), HasSubstr("not a serialised op file"));
    EXPECT_EQ(NumberOfMappings(path), 1);
}

TEST_F(LargeAttributeFile, ALinkToItIsTheSameFile) {
    std::filesystem::create_hard_link(path, folder.path("link"));
    const GroupAttribute first = read();
    const GroupAttribute second(ReadFile(folder.path("link")));
    EXPECT_EQ(first.getHandle(), second.getHandle());
}

TEST_F(LargeAttributeFile, WrittenAnewItIsAnotherFileAndTheOldOneStaysReadable) {
    const GroupAttribute old = read();
    WriteAttributeFile(path, GroupAttribute({{"new", Counting(2000000)}}, true));
    const GroupAttribute anew = read();
    EXPECT_EQ(anew.getChildName(0), "new");
    EXPECT_EQ(old, LargeValue());
    EXPECT_NE(old, anew);
}

TEST_F(LargeAttributeFile, DamageIsFoundWhenAndOnlyWhenItIsRead) {
    damageArray(1000000);
    const GroupAttribute value = read();
    EXPECT_EQ(FloatAttribute(value.getChildByName("a")).getNearestSample(0)[599999], 599999.0f);
    EXPECT_EQ(FloatAttribute(value.getChildByName("c")).getValue(), 2000000.0f);
    EXPECT_EQ(StringAttribute(value.getChildByName("group.text")).getValue(), "small text");
    EXPECT_THAT(ErrorOf([&] { value.getChildByName("group.b"); }),
                testing::MatchesRegex("File \"" + path +
                                      "\" is damaged: bytes [0-9]+ to [0-9]+ do not have their "
                                      "checksum"));
    EXPECT_EQ(FloatAttribute(value.getChildByName("a")).getValue(), 0.0f);
}

TEST_F(LargeAttributeFile, DamageIsFoundAgainAndAgain) {
    damageArray(1000000);
    const GroupAttribute group(read().getChildByName("group"));
    const std::string error = ErrorOf([&] { group.getChildByIndex(0); });
    EXPECT_THAT(error, HasSubstr(path));
    EXPECT_EQ(ErrorOf([&] { group.getChildByIndex(0); }), error);
    EXPECT_EQ(ErrorOf([&] { group.getHash(); }), error);
    EXPECT_EQ(ErrorOf([&] { group.getXML(); }), error);
    EXPECT_EQ(ErrorOf([&] { ContainerBytes::Write(group); }), error);
    EXPECT_EQ(ErrorOf([&] { (void)(group == LargeValue()); }), error);
}

TEST_F(LargeAttributeFile, ReadingDamageLeavesNoHandleBehind) {
    damageArray(1000000);
    EXPECT_THAT(ErrorOf([&] { read().getChildByName("group.b"); }), HasSubstr(path));
    CollectUnusedFiles();
    EXPECT_FALSE(IsMapped(path));
}

TEST_F(LargeAttributeFile, WritingADamagedValueToAFileNamesTheDamagedFile) {
    damageArray(1000000);
    const GroupAttribute value = read();
    EXPECT_THAT(ErrorOf([&] { WriteAttributeFile(folder.path("copy"), value); }), HasSubstr(path));
    EXPECT_THAT(FilesIn(folder), ElementsAre("large.oxa"));
}

TEST_F(LargeAttributeFile, TheCSuiteGivesNothingForDamage) {
    damageArray(1000000);
    const GroupAttribute value = read();
    const OxAttributeSuite_v1& suite = *OxGetBuiltInAttributeSuite();
    EXPECT_EQ(suite.getChildByName(value.getHandle(), "group.b"), nullptr);
    std::uint64_t words[2] = {1, 1};
    suite.getHash(value.getHandle(), words);
    EXPECT_THAT(words, ElementsAre(0u, 0u));
    EXPECT_EQ(suite.getXml(value.getHandle()), nullptr);
    EXPECT_EQ(suite.isEqual(value.getHandle(), LargeValue().getHandle()), 0);
    OxAttributeStruct* const group = suite.getChildByName(value.getHandle(), "group");
    EXPECT_EQ(suite.getChildByIndex(group, 0), nullptr);
    EXPECT_STREQ(suite.getChildName(group, 1), "text");
    suite.release(group);
}

TEST_F(LargeAttributeFile, DamageAtTheRootIsFoundAtOnce) {
    std::string bytes = folder.read("large.oxa");
    const std::size_t root = ContainerBytes::FooterOf(bytes).rootUnit * 16ull;
    bytes[root + 40] ^= 1;
    folder.write("large.oxa", bytes);
    EXPECT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: bytes "));
    EXPECT_FALSE(IsMapped(path));
}

TEST_F(LargeAttributeFile, DamageOfTheTableOrTheFooterIsFoundAtOnce) {
    const std::string bytes = folder.read("large.oxa");
    const std::size_t table = ContainerBytes::FooterOf(bytes).tableOffset;
    for (std::size_t offset = table; offset < bytes.size(); ++offset) {
        std::string damaged = bytes;
        damaged[offset] ^= 0x10;
        if (offset % 97 != 0 && offset + 100 < bytes.size()) continue;
        folder.write("large.oxa", damaged);
        ASSERT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: "))
            << offset;
    }
}

TEST_F(LargeAttributeFile, CutShortItIsRefusedAtOnce) {
    const std::string bytes = folder.read("large.oxa");
    for (const std::size_t length : {bytes.size() - 1, bytes.size() - 48, bytes.size() - 1000}) {
        folder.write("large.oxa", bytes.substr(0, length));
        EXPECT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: "));
    }
}
