#include <OxTellarSDK/AttributeStream.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "AttributePrinter.h"
#include "CapturedLog.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"
#include "FileBuffer.h"
#include "OpenFiles.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

using namespace OxAttribute;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

Attribute Opened(const std::string& path) {
    FileStream stream(path, true);
    return Attribute::readAttributeStream(&stream, &FileStream::read, 0);
}

FloatAttribute Counting(int count, float first = 0) {
    std::vector<float> values;
    for (int i = 0; i < count; ++i)
        values.push_back(first + static_cast<float>(i));
    return FloatAttribute(values, 1);
}

std::vector<std::string> FilesIn(const TempDirectory& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename());
    return names;
}

} // namespace

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

/// The key MAP_FILES_ABOVE has this value while it lives; nothing is none.
class MapFilesAbove {
public:
    explicit MapFilesAbove(const std::optional<std::string>& value)
        : variable(std::in_place, "OX_CONFIG_MAP_FILES_ABOVE", value) {
        Config()->reload();
    }
    ~MapFilesAbove() {
        variable.reset();
        Config()->reload();
    }

private:
    std::optional<ScopedEnvironment> variable;
};

/// Whatever way its bytes come into memory: by mapping it or by reading it piece by piece.
class LargeAttributeFile : public testing::TestWithParam<const char*> {
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

    void setByte(std::size_t offset, char byte) const {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(offset));
        file.put(byte);
    }

    GroupAttribute read() const { return GroupAttribute(Opened(path)); }

    MapFilesAbove setting{GetParam()};
    TempDirectory folder;
    std::string path;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Mapped, LargeAttributeFile, testing::Values("4"));
INSTANTIATE_TEST_SUITE_P(Read, LargeAttributeFile, testing::Values("never"));

TEST_P(LargeAttributeFile, IsKeptOpenAndReadsEqual) {
    ASSERT_GT(std::filesystem::file_size(path), FileBuffer::kLargeBytes);
    const GroupAttribute value = read();
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(value, LargeValue());
    EXPECT_EQ(value.getHash(), LargeValue().getHash());
    EXPECT_EQ(IntAttribute(value.getChildByName("after")).getValue(), 2);
}

TEST_P(LargeAttributeFile, IsKeptOpenWhenItWasProbedFirst) {
    Attribute value;
    {
        FileStream stream(path, true);
        EXPECT_EQ(ProbeFile(stream), FileKind::AttributeStream);
        value = Attribute::readAttributeStream(&stream, &FileStream::read, 0);
    }
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(value, LargeValue());
}

TEST_P(LargeAttributeFile, IsClosedWhenNobodyHoldsAnythingOfIt) {
    Attribute leaf;
    {
        const GroupAttribute value = read();
        leaf = value.getChildByName("group.text");
    }
    CollectUnusedFiles();
    EXPECT_TRUE(IsOpen(path));
    EXPECT_EQ(StringAttribute(leaf).getValue(), "small text");
    const Attribute second = leaf;
    leaf = Attribute();
    CollectUnusedFiles();
    EXPECT_TRUE(IsOpen(path));
    const_cast<Attribute&>(second) = Attribute();
    CollectUnusedFiles();
    EXPECT_FALSE(IsOpen(path));
}

TEST_P(LargeAttributeFile, SamplesAndGroupsKeepItOpen) {
    ConstSample<float> sample = FloatAttribute(read().getChildByName("a")).getNearestSample(0);
    GroupAttribute group({{"x", read().getChildByName("c")}}, true);
    CollectUnusedFiles();
    EXPECT_EQ(sample[10], 10.0f);
    EXPECT_EQ(FloatAttribute(group.getChildByName("x")).getValue(), 2000000.0f);
    sample = ConstSample<float>();
    CollectUnusedFiles();
    EXPECT_TRUE(IsOpen(path));
    group = GroupAttribute();
    CollectUnusedFiles();
    EXPECT_FALSE(IsOpen(path));
}

TEST_P(LargeAttributeFile, OpenedTwiceIsKeptOnceAndShared) {
    const GroupAttribute first = read(), second = read();
    EXPECT_EQ(first.getHandle(), second.getHandle());
    EXPECT_EQ(NumberOfOpenings(path), 1);
    EXPECT_THAT(ErrorOf([&] { ReadOpFile(path); }), HasSubstr("not a serialised op file"));
    EXPECT_EQ(NumberOfOpenings(path), 1);
}

TEST_P(LargeAttributeFile, ALinkToItIsTheSameFile) {
    std::filesystem::create_hard_link(path, folder.path("link"));
    const GroupAttribute first = read();
    const GroupAttribute second(Opened(folder.path("link")));
    EXPECT_EQ(first.getHandle(), second.getHandle());
}

TEST_P(LargeAttributeFile, WrittenAnewItIsAnotherFileAndTheOldOneStaysReadable) {
    const GroupAttribute old = read();
    WriteAttributeFile(path, GroupAttribute({{"new", Counting(2000000)}}, true));
    const GroupAttribute anew = read();
    EXPECT_EQ(anew.getChildName(0), "new");
    EXPECT_EQ(old, LargeValue());
    EXPECT_NE(old, anew);
}

TEST_P(LargeAttributeFile, DamageIsFoundWhenAndOnlyWhenItIsRead) {
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

TEST_P(LargeAttributeFile, DamageIsFoundAgainAndAgain) {
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

TEST_P(LargeAttributeFile, ReadingDamageLeavesNoHandleBehind) {
    damageArray(1000000);
    EXPECT_THAT(ErrorOf([&] { read().getChildByName("group.b"); }), HasSubstr(path));
    CollectUnusedFiles();
    EXPECT_FALSE(IsOpen(path));
}

TEST_P(LargeAttributeFile, WritingADamagedValueToAFileNamesTheDamagedFile) {
    damageArray(1000000);
    const GroupAttribute value = read();
    EXPECT_THAT(ErrorOf([&] { WriteAttributeFile(folder.path("copy"), value); }), HasSubstr(path));
    EXPECT_THAT(FilesIn(folder), ElementsAre("large.oxa"));
}

TEST_P(LargeAttributeFile, ABuilderThatMeetsDamageKeepsWhatItHad) {
    damageArray(1000000);
    const Attribute group = read().getChildByName("group");
    GroupBuilder builder;
    builder.set("before", IntAttribute(1));
    builder.set("g", group);
    EXPECT_THAT(ErrorOf([&] { builder.set("g.new", IntAttribute(2)); }), HasSubstr(path));
    const GroupAttribute built = builder.build();
    EXPECT_EQ(built.getNumberOfChildren(), 2);
    EXPECT_EQ(built.getChildByName("g").getHandle(), group.getHandle());
}

TEST_P(LargeAttributeFile, TheCSuiteGivesNothingForDamage) {
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

TEST_P(LargeAttributeFile, DamageAtTheRootIsFoundAtOnce) {
    std::string bytes = folder.read("large.oxa");
    const std::size_t root = ContainerBytes::FooterOf(bytes).rootUnit * kUnitBytes;
    bytes[root + 20] ^= 1;
    folder.write("large.oxa", bytes);
    EXPECT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: bytes "));
    EXPECT_FALSE(IsOpen(path));
}

TEST_P(LargeAttributeFile, DamageOfTheTableOrTheFooterIsFoundAtOnce) {
    const std::string bytes = folder.read("large.oxa");
    const std::size_t table = ContainerBytes::FooterOf(bytes).tableOffset;
    for (std::size_t offset = table; offset < bytes.size(); ++offset) {
        if (offset % 97 != 0 && offset + 100 < bytes.size()) continue;
        setByte(offset, static_cast<char>(bytes[offset] ^ 0x10));
        ASSERT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: "))
            << offset;
        setByte(offset, bytes[offset]);
    }
}

TEST_P(LargeAttributeFile, CutShortItIsRefusedAtOnce) {
    const std::string bytes = folder.read("large.oxa");
    for (const std::size_t length : {bytes.size() - 1, bytes.size() - 56, bytes.size() - 1000}) {
        folder.write("large.oxa", bytes.substr(0, length));
        EXPECT_THAT(ErrorOf([&] { read(); }), StartsWith("File \"" + path + "\" is damaged: "));
    }
}

// Files that change while they are open -----------------------------------------------------------

namespace {

class OpenedFile : public LargeAttributeFile {
protected:
    /// Writes into the file that is there, as our own writers never do.
    void overwrite(const std::string& bytes) const {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file << bytes;
    }
    void expectNothingMoreToRead(const std::string& why) const {
        EXPECT_EQ(ErrorOf([&] { value.getChildByName("group.b"); }),
                  "File \"" + path + "\" " + why);
    }
    void expectWhatWasReadBefore() const {
        EXPECT_EQ(first, FloatAttribute(Counting(kLargeCount, 0)));
        EXPECT_EQ(value.getNumberOfChildren(), 5);
    }

    GroupAttribute value = read();
    FloatAttribute first{value.getChildByName("a")};
};

constexpr const char* kTooShort =
    "can no longer be read: it has become shorter since it was opened";

} // namespace

INSTANTIATE_TEST_SUITE_P(ByDefault, OpenedFile, testing::Values(""));
INSTANTIATE_TEST_SUITE_P(Always, OpenedFile, testing::Values("never"));

TEST_P(OpenedFile, KeepsWhatWasReadWhenItIsCutShortAndRefusesTheRest) {
    std::filesystem::resize_file(path, 0);
    expectNothingMoreToRead(kTooShort);
    expectWhatWasReadBefore();
}

TEST_P(OpenedFile, KeepsWhatWasReadWhenItIsOverwrittenAndRefusesTheRest) {
    overwrite(std::string(std::filesystem::file_size(path), 'x'));
    expectNothingMoreToRead("has changed since it was opened");
    expectWhatWasReadBefore();
}

TEST_P(OpenedFile, KeepsWhatWasReadWhenItIsReplacedInPlace) {
    std::filesystem::resize_file(path, 0);
    overwrite(ContainerBytes::Write(IntAttribute(1)));
    expectNothingMoreToRead(kTooShort);
    expectWhatWasReadBefore();
    EXPECT_EQ(IntAttribute(Opened(path)).getValue(), 1);
}

TEST(MappedFile, HasTheHashesOfItsValuesComputedOnce) {
    const MapFilesAbove all("4");
    const TempDirectory folder;
    const std::string path = folder.path("large.oxa");
    WriteAttributeFile(path, LargeValue());
    const GroupAttribute value(Opened(path));
    const Attribute array = value.getChildByName("a");
    const Hash hash = value.getHash();
    const Hash arrayHash = array.getHash();
    // Hashing the mapped values again gives another hash.
    std::string bytes = folder.read("large.oxa");
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    const std::size_t offset = OffsetOf(bytes, 300000);
    file.seekp(static_cast<std::streamoff>(offset)).put(static_cast<char>(bytes[offset] ^ 1));
    file.close();
    ASSERT_NE(FloatAttribute(array).getNearestSample(0)[300000], 300000.0f);
    EXPECT_EQ(value.getHash(), hash);
    EXPECT_EQ(array.getHash(), arrayHash);
    EXPECT_EQ(GroupAttribute(value.getChildByName("group")).getHash(),
              GroupAttribute(LargeValue().getChildByName("group")).getHash());
}

// Which files are mapped --------------------------------------------------------------------------

namespace {

/// Whether a file of about 7 MiB is mapped when the key has this value.
bool IsMappedWith(const std::optional<std::string>& setting) {
    const MapFilesAbove set(setting);
    const TempDirectory folder;
    const std::string path = folder.path("large.oxa");
    WriteAttributeFile(path, LargeValue());
    const Attribute value = Opened(path);
    EXPECT_TRUE(IsOpen(path));
    return IsMapped(path);
}

} // namespace

TEST(MapFilesAbove, IsANumberOfMebibytesOrNever) {
    const CapturedLog log;
    EXPECT_TRUE(IsMappedWith("0"));
    EXPECT_TRUE(IsMappedWith("6"));
    EXPECT_FALSE(IsMappedWith("7"));
    EXPECT_FALSE(IsMappedWith("never"));
    EXPECT_FALSE(IsMappedWith("99999999999999999999999"));
    EXPECT_FALSE(IsMappedWith("17592186044416")); // times 2^20 is 0 modulo 2^64
    EXPECT_FALSE(IsMappedWith(std::nullopt));
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

TEST(MapFilesAbove, MapsNothingAndLogsAnErrorWhenItIsNoSuchThing) {
    for (const char* setting : {"64 MiB", "-1", "always"}) {
        const CapturedLog log;
        EXPECT_FALSE(IsMappedWith(setting));
        EXPECT_THAT(log.textsOf("FileStream"),
                    ElementsAre("MAP_FILES_ABOVE is \"" + std::string(setting) +
                                "\"; it must be a number of MiB or \"never\". No file is mapped."));
    }
}
