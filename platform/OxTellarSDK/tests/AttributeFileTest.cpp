#include <OxTellarSDK/AttributeStream.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <zstd.h>

#include <OxTellarSDK/FileStream.h>

#include "AttributePrinter.h"
#include "CollidingNames.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "RandomAttribute.h"
#include "SampleValue.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::HasSubstr;

namespace {

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
    [](const auto& test) { return std::string(test.param.name); });

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

/// Compares the two ways to a child, for each name and for one that is missing.
void ExpectSameChildren(const GroupAttribute& group) {
    const std::int64_t count = group.getNumberOfChildren();
    for (std::int64_t i = 0; i < count; ++i)
        for (const std::int64_t hint : {std::int64_t(-1), i, (i + 1) % count, count}) {
            const Attribute child = group.getChild(group.getChildNameView(i), hint);
            ASSERT_EQ(child.getHandle(), group.getChildByIndex(i).getHandle()) << i << ' ' << hint;
        }
    EXPECT_FALSE(group.getChild("none", 0).isValid());
    EXPECT_FALSE(group.getChild("", 0).isValid());
}

/// Compares the names that come at once with each single one.
void ExpectSameNames(const GroupAttribute& group) {
    std::vector<std::string> single;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        single.push_back(group.getChildName(i));
    const StringAttribute names = group.getChildNames();
    EXPECT_EQ(names, StringAttribute(single, 1));
    EXPECT_EQ(names.getNumberOfTimeSamples(), 1);
}

TEST(AttributeFile, AChildIsFoundByItsNameInOneStep) {
    std::vector<GroupAttribute::Child> many;
    for (int i = 0; i < 100; ++i)
        many.emplace_back("name_" + std::to_string(i),
                          GroupAttribute({{"x", IntAttribute(i)}, {"y", IntAttribute(-i)}}, true));
    const GroupAttribute group({{"few", SampleValue()}, {"many", GroupAttribute(many, true)}},
                               true);
    const GroupAttribute back(ContainerBytes::Read(ContainerBytes::Write(group)));
    ExpectSameChildren(back);
    for (const char* path : {"few", "many", "many.name_7"}) {
        SCOPED_TRACE(path);
        ExpectSameChildren(back.getChildByName(path));
        ExpectSameNames(back.getChildByName(path));
    }
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
    const std::string bytes = ContainerBytes::Write(SampleValue());
    const std::string path = folder.write("a", ContainerBytes::WithVersion(bytes, 3));
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "File \"" + path + "\" has format version 3, of which this program knows nothing");
    folder.write("a", ContainerBytes::WithVersion(bytes, 1));
    EXPECT_EQ(ErrorOf([&] { ReadFile(path); }),
              "File \"" + path +
                  "\" has format version 1, which this program no longer reads; convert its "
                  "source, such as a scene's JSON file, again");
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

TEST(AttributeFile, IsReadFromTheFileThatWasProbed) {
    const TempDirectory folder;
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress);
        WriteAttributeFile(folder.path("a"), SampleValue(), compress);
        WriteOpFile(folder.path("b"), SampleOpTree(), compress);
        FileStream attributeFile(folder.path("a"), true);
        FileStream opFile(folder.path("b"), true);
        EXPECT_EQ(ProbeFile(attributeFile), FileKind::AttributeStream);
        EXPECT_EQ(ProbeFile(opFile), FileKind::OpFile);
        EXPECT_EQ(Attribute::readAttributeStream(&attributeFile, &FileStream::read, 0),
                  SampleValue());
        EXPECT_EQ(ReadOpFile(opFile), SampleOpTree());
    }
}

TEST(AttributeFile, ProbingAFileThatCannotBeReadIsAnError) {
    const TempDirectory folder;
    EXPECT_EQ(ErrorOf([&] { ProbeFile(folder.path("none")); }),
              "Cannot read file \"" + folder.path("none") + "\": No such file or directory");
    EXPECT_EQ(ErrorOf([&] { ProbeFile(folder.path()); }),
              "Cannot read file \"" + folder.path() + "\": not a regular file");
    const std::string cut = folder.write("cut", Compressed(std::string(1000, 'x')).substr(0, 12));
    EXPECT_THAT(ErrorOf([&] { ProbeFile(cut); }), HasSubstr("\"" + cut + "\""));
}
