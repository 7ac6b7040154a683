#include <OxTellarSDK/AttributeStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "CarelessReader.h"
#include "CollidingNames.h"
#include "ContainerBytes.h"
#include "ErrorOf.h"

using namespace OxAttribute;
using namespace Damaged;
using testing::HasSubstr;

// Files that an attacker would make

namespace {

constexpr std::size_t kExtentOffset = 8;     // in a WideGroup
constexpr std::size_t kCountOffset = 8;      // in a FullNode
constexpr std::size_t kTimeCountOffset = 20; // in a FullNode

std::size_t At(std::uint32_t unit) {
    return unit * kUnitBytes;
}

WideGroup WideAt(const std::string& file, std::uint32_t unit) {
    return ContainerBytes::ValueAt<WideGroup>(file, At(unit));
}

std::size_t ChildOffset(std::uint32_t groupUnit, std::size_t index) {
    return At(groupUnit) + sizeof(WideGroup) + 4 * index;
}

std::uint32_t ChildUnit(const std::string& file, std::uint32_t groupUnit, std::size_t index) {
    return ContainerBytes::ValueAt<std::uint32_t>(file, ChildOffset(groupUnit, index));
}

void SetChildUnit(std::string& file, std::uint32_t groupUnit, std::size_t index,
                  std::uint32_t childUnit) {
    ContainerBytes::SetValueAt(file, ChildOffset(groupUnit, index), childUnit);
}

void SetDepth(std::string& file, std::uint32_t groupUnit, std::uint32_t depth) {
    const std::uint32_t word = WideAt(file, groupUnit).word & 0xff;
    ContainerBytes::SetValueAt(file, At(groupUnit), word | depth << Node::kPayload);
}

std::uint32_t RootUnit(const std::string& file) {
    return ContainerBytes::FooterOf(file).rootUnit;
}

/// Reads the mutant in every way and tells what stopped it.
std::string ErrorOfReading(const std::string& file) {
    return ErrorOf<std::exception>([&] {
        const Attribute value = ContainerBytes::Read(ContainerBytes::Repaired(file));
        Reader().read(value);
        value.getHash();
    });
}

} // namespace

TEST(Damage, AGroupThatIsAlsoANumberInsideItselfIsRefused) {
    std::string file = ContainerBytes::Write(GroupAttribute({{"a", IntAttribute(1)}}, true));
    SetChildUnit(file, RootUnit(file), 0, RootUnit(file));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("no attribute of the type stated stands"));
}

TEST(Damage, AGroupInsideItselfIsRefused) {
    std::string file = ContainerBytes::Write(
        GroupAttribute({{"a", GroupAttribute({{"b", IntAttribute(1)}}, true)}}, true));
    SetChildUnit(file, RootUnit(file), 0, RootUnit(file));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a child group outside of it"));
}

TEST(Damage, AGroupWithTwoParentsIsRefused) {
    const GroupAttribute leaf({{"x", IntAttribute(1)}}, true);
    std::string file = ContainerBytes::Write(GroupAttribute({{"a", leaf}, {"b", leaf}}, true));
    const std::uint32_t first = ChildUnit(file, RootUnit(file), 0);
    SetChildUnit(file, RootUnit(file), 1, first);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a child group outside of it"));
}

TEST(Damage, AGroupReferencedAsAGroupAndAsANumberIsRefused) {
    const GroupAttribute leaf({{"x", IntAttribute(1)}}, true);
    std::string file =
        ContainerBytes::Write(GroupAttribute({{"a", leaf}, {"b", IntAttribute(1)}}, true));
    const std::uint32_t group = ChildUnit(file, RootUnit(file), 0);
    SetChildUnit(file, RootUnit(file), 1, group);
    const GroupAttribute root(ContainerBytes::Read(ContainerBytes::Repaired(file)));
    EXPECT_EQ(root.getChildByIndex(0), leaf);
    EXPECT_THAT(ErrorOf<std::exception>([&] { root.getChildByIndex(1); }),
                HasSubstr("no attribute of the type stated stands"));
}

TEST(Damage, AGroupThatOverlapsItsSiblingIsRefused) {
    const GroupAttribute inner({{"x", IntAttribute(1)}}, true);
    const GroupAttribute a({{"i", inner}}, true), b({{"j", inner}, {"k", IntAttribute(2)}}, true);
    std::string file = ContainerBytes::Write(GroupAttribute({{"a", a}, {"b", b}}, true));
    const std::uint32_t first = ChildUnit(file, RootUnit(file), 0);
    const std::uint32_t second = ChildUnit(file, RootUnit(file), 1);
    const std::uint32_t stolen = ChildUnit(file, first, 0);
    SetChildUnit(file, second, 0, stolen);
    // Its own region, stretched over that of its sibling, so that the thief itself looks sound.
    ContainerBytes::SetValueAt(file, At(second) + kExtentOffset, second - 16);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group lies outside of its parent"));
}

TEST(Damage, AGroupDeeperThanItsDeclaredDepthIsRefused) {
    GroupAttribute chain(true);
    for (int i = 0; i < 5; ++i)
        chain = GroupAttribute({{"g", chain}}, true);
    std::string file = ContainerBytes::Write(chain);
    SetDepth(file, RootUnit(file), 2);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group has an impossible depth"));
}

TEST(Damage, AGroupDeeperThanTheLimitIsRefused) {
    std::string file = ContainerBytes::Write(GroupAttribute(true));
    SetDepth(file, RootUnit(file), 2049);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group has an impossible depth"));
}

TEST(Damage, TwoChildrenOfTheSameNameAreRefused) {
    for (const std::uint32_t count : {2u, 8u, 9u, 100u}) {
        std::vector<GroupAttribute::Child> children;
        for (std::uint32_t i = 0; i < count; ++i)
            children.emplace_back("name" + std::to_string(100 + i), IntAttribute(1));
        std::string file = ContainerBytes::Write(GroupAttribute(children, true));
        const std::size_t ends = At(WideAt(file, RootUnit(file)).namesUnit + 1);
        // In order of hashes, two neighbours keep their order when one takes the other's name.
        std::uint32_t from = 0, to = 1;
        if (count > 8) {
            const std::size_t hashes = ends + 4ull * count, sorted = hashes + 4ull * count;
            from = ContainerBytes::ValueAt<std::uint32_t>(file, sorted);
            to = ContainerBytes::ValueAt<std::uint32_t>(file, sorted + 4);
            ContainerBytes::SetValueAt(file, sorted, std::min(from, to));
            ContainerBytes::SetValueAt(file, sorted + 4, std::max(from, to));
            const auto hash = ContainerBytes::ValueAt<std::uint32_t>(file, hashes + 4ull * from);
            ContainerBytes::SetValueAt(file, hashes + 4ull * to, hash);
        }
        const std::size_t texts = file.find("name100");
        file.replace(texts + to * 8, 7, file.substr(texts + from * 8, 7));
        EXPECT_THAT(ErrorOfReading(file), HasSubstr("two children of one name")) << count;
    }
}

namespace {

void Append(std::string& bytes, std::uint32_t word) {
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

/// A group of null attributes with these names, all of one hash, made without the writer: it would
/// refuse to.
std::string FileOfNames(const std::vector<std::string>& names) {
    std::string values = ContainerBytes::Write(NullAttribute()).substr(0, 64 + sizeof(Node));
    const auto count = static_cast<std::uint32_t>(names.size());
    std::string hashes, indices, texts;
    Append(values, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        texts += names[i] + '\0';
        Append(values, static_cast<std::uint32_t>(texts.size()));
        Append(hashes, HashName(names[i]));
        Append(indices, i);
    }
    values += hashes + indices + texts;
    values.resize(AlignUp(values.size(), kUnitBytes));
    const auto root = static_cast<std::uint32_t>(values.size() / kUnitBytes);
    Append(values, kAttributeTypeGroup | kInFile | kGroupInherit | 1u << Node::kPayload);
    Append(values, 17);
    Append(values, 0);
    Append(values, count);
    for (std::uint32_t i = 0; i < count; ++i)
        Append(values, 16);
    values.append(count, '\0');
    return ContainerBytes::WithFrame(values, root);
}

GroupAttribute GroupOfNames(const std::vector<std::string>& names) {
    std::vector<GroupAttribute::Child> children;
    for (const std::string& name : names)
        children.emplace_back(name, NullAttribute());
    return GroupAttribute(children, true);
}

} // namespace

TEST(Damage, AtMostThirtyTwoNamesCanHaveTheSameHash) {
    const std::vector<std::string> most = CollidingNames::make(32);
    EXPECT_EQ(ContainerBytes::Read(FileOfNames(most)), GroupOfNames(most));
    EXPECT_EQ(ContainerBytes::Read(ContainerBytes::Write(GroupOfNames(most))), GroupOfNames(most));
    for (const std::size_t count : {33, 2000}) {
        const std::vector<std::string> names = CollidingNames::make(count);
        EXPECT_THAT(ErrorOfReading(FileOfNames(names)), HasSubstr("too many names of one hash"));
        EXPECT_THAT(ErrorOf<std::exception>([&] { ContainerBytes::Write(GroupOfNames(names)); }),
                    HasSubstr("too many names in one group have one hash"));
    }
}

TEST(Damage, AValueLargerThanTheFileIsRefusedWithoutAllocation) {
    const std::string file = ContainerBytes::Write(FloatAttribute(std::vector<float>(5000), 1));
    for (const std::uint64_t count :
         {std::uint64_t(6000), std::uint64_t(1) << 20, std::uint64_t(1) << 40,
          std::uint64_t(1) << 62, ~std::uint64_t(0), (~std::uint64_t(0)) / 4 + 2}) {
        std::string mutant = file;
        ContainerBytes::SetValueAt(mutant, At(RootUnit(file)) + kCountOffset, count);
        EXPECT_THAT(ErrorOfReading(mutant), HasSubstr("an attribute leads outside")) << count;
    }
}

TEST(Damage, AShortValueLargerThanTheFileIsRefused) {
    std::string file = ContainerBytes::Write(FloatAttribute({1, 2, 3}, 1));
    ContainerBytes::SetValueAt<std::uint32_t>(file, At(RootUnit(file)),
                                              kAttributeTypeFloat | kInFile | Node::kShort |
                                                  4095u << Node::kPayload | 1u << kTupleSizeBit);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("an attribute leads outside"));
}

TEST(Damage, ManyEmptySamplesAreRefusedWithoutAllocation) {
    std::string file = ContainerBytes::Write(FloatAttribute({{1.0f, {}}, {2.0f, {}}}, 1));
    ContainerBytes::SetValueAt(file, At(RootUnit(file)) + kTimeCountOffset, 0x7fffffffu);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("an attribute leads outside"));
}

TEST(Damage, AStringWithoutATerminatorIsRefused) {
    std::string file = ContainerBytes::Write(StringAttribute("0123456789ab"));
    const std::size_t text = file.find("0123456789ab");
    file[text + 12] = 'x';
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("an unfinished string"));
}

TEST(Damage, ANameWithoutATerminatorIsRefused) {
    std::string file =
        ContainerBytes::Write(GroupAttribute({{"a name of 18 bytes", IntAttribute(1)}}, true));
    const std::size_t text = file.find("a name of 18 bytes");
    file[text + 18] = 'x';
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a name that is not what it states"));
}

TEST(Damage, AGroupWithMoreOrFewerNamesThanChildrenIsRefused) {
    for (const std::uint32_t count : {1u, 3u}) {
        std::string file = ContainerBytes::Write(
            GroupAttribute({{"size", IntAttribute(1)}, {"name", IntAttribute(2)}}, true));
        ContainerBytes::SetValueAt(file, At(WideAt(file, RootUnit(file)).namesUnit), count);
        EXPECT_THAT(ErrorOfReading(file), HasSubstr("more or fewer names than children"));
    }
}

TEST(Damage, ANullAttributeHasNoValues) {
    std::string file = ContainerBytes::Write(NullAttribute());
    const std::size_t word = At(RootUnit(file));
    ContainerBytes::SetValueAt(file, word,
                               ContainerBytes::ValueAt<std::uint32_t>(file, word) | 256u);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a null attribute has values"));
}

TEST(Damage, AValueHasOnlyOneRepresentation) {
    const IntAttribute elsewhere(std::map<float, std::vector<int>>{{2.0f, {7}}}, 1);
    std::string file = ContainerBytes::Write(elsewhere);
    ContainerBytes::SetValueAt(file, At(RootUnit(file)) + sizeof(FullNode), 0.0f);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("the time that goes without saying"));

    file = ContainerBytes::Write(IntAttribute(std::vector<int>(5000), 1));
    ContainerBytes::SetValueAt(file, At(RootUnit(file)) + kCountOffset, std::uint64_t(4095));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a value that would be shorter"));
}

TEST(Damage, DoublesStandWhereTheyCanBeRead) {
    std::string file = ContainerBytes::Write(DoubleAttribute(1.5));
    const std::uint32_t root = RootUnit(file);
    ContainerBytes::SetValueAt(file, At(root - 1),
                               ContainerBytes::ValueAt<std::uint32_t>(file, At(root)));
    const ContainerFooter footer = ContainerBytes::FooterOf(file);
    EXPECT_THAT(
        ErrorOfReading(ContainerBytes::WithFrame(file.substr(0, footer.tableOffset), root - 1)),
        HasSubstr("values stand where they cannot be read"));
}

// Shapes

namespace {

/// Places in a file of groups that are alike.
struct Shaped {
    static constexpr int kGroups = 12; // the first ones have no shapes
    std::string file;
    std::uint32_t shape = 0; // unit of the record of the last shape, of the outermost groups
    std::uint32_t group = 0; // unit of the last child, which has this shape

    Shaped() {
        std::vector<GroupAttribute::Child> children;
        for (int i = 0; i < kGroups; ++i)
            children.emplace_back(
                "child" + std::to_string(i),
                GroupAttribute({{"text", StringAttribute("text" + std::to_string(10 + i))},
                                {"below", GroupAttribute({{"number", DoubleAttribute(i)}}, true)}},
                               true));
        file = ContainerBytes::Write(GroupAttribute(children, true));
        const ContainerFooter footer = ContainerBytes::FooterOf(file);
        shape = ContainerBytes::ValueAt<std::uint32_t>(
            file, At(footer.shapesUnit + footer.shapeCount - 1));
        group = ChildUnit(file, RootUnit(file), kGroups - 1);
    }

    ShapeRecord record() const { return ContainerBytes::ValueAt<ShapeRecord>(file, At(shape)); }
    void setRecord(const ShapeRecord& record) {
        ContainerBytes::SetValueAt(file, At(shape), record);
    }
    ShapeEntry entry(std::size_t index) const {
        return ContainerBytes::ValueAt<ShapeEntry>(file, entryOffset(index));
    }
    void setEntry(std::size_t index, const ShapeEntry& entry) {
        ContainerBytes::SetValueAt(file, entryOffset(index), entry);
    }
    std::size_t entryOffset(std::size_t index) const {
        return At(shape) + sizeof(ShapeRecord) + index * sizeof(ShapeEntry);
    }
};

} // namespace

TEST(DamagedShape, IsReadWhenItIsSound) {
    const Shaped shaped;
    EXPECT_EQ(shaped.record().depth, 2);
    EXPECT_EQ(ContainerBytes::ValueAt<std::uint32_t>(shaped.file, At(shaped.group)) & Node::kShort,
              Node::kShort);
    EXPECT_EQ(ErrorOfReading(shaped.file), "no error");
}

TEST(DamagedShape, OfAGroupThatStandsInItIsRefused) {
    Shaped shaped;
    const std::uint32_t own = ContainerBytes::ValueAt<std::uint32_t>(shaped.file, At(shaped.group));
    shaped.setEntry(1, {shaped.entry(1).place, own});
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("a shape has a child of no known type"));
}

TEST(DamagedShape, WithASharedGroupIsRefused) {
    Shaped shaped;
    ShapeEntry entry = shaped.entry(1);
    entry.word |= kSharedChild;
    shaped.setEntry(1, entry);
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("a shape has a child of no known type"));
}

TEST(DamagedShape, WithAChildOutsideOfItsRegionIsRefused) {
    for (const std::uint32_t place : {0u, 1u, 1000u, 0x40000000u, 0xffffffffu}) {
        Shaped shaped;
        shaped.setEntry(0, {place, shaped.entry(0).word});
        EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("an attribute leads outside")) << place;
        shaped = Shaped();
        shaped.setEntry(1, {place == 1u ? 0u : place, shaped.entry(1).word});
        EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("a child group outside of it")) << place;
    }
}

TEST(DamagedShape, WithoutDepthOrTooDeepOrTooLargeIsRefused) {
    for (const std::uint16_t depth : {0, 1, 3, 65535}) {
        Shaped shaped;
        ShapeRecord record = shaped.record();
        record.depth = depth;
        shaped.setRecord(record);
        EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("an impossible depth")) << depth;
    }
    Shaped shaped;
    ShapeRecord record = shaped.record();
    record.extent = kMostShapeExtent + 1;
    shaped.setRecord(record);
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("a shape is too large"));
}

TEST(DamagedShape, IsNotThatOfAGroupWithOtherWords) {
    Shaped shaped;
    const std::size_t text = At(shaped.group - shaped.entry(0).place);
    ContainerBytes::SetValueAt<std::uint32_t>(
        shaped.file, text, ContainerBytes::ValueAt<std::uint32_t>(shaped.file, text) - 256u);
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("no attribute of the type stated stands"));
}

TEST(DamagedShape, HasStringsThatEnd) {
    Shaped shaped;
    const std::size_t text = shaped.file.rfind("text21");
    shaped.file[text + 6] = 'x';
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("an unfinished string"));
}

TEST(DamagedShape, OfAGroupWhoseDoublesAreNotAlignedIsRefused) {
    Shaped shaped;
    constexpr int kIndex = Shaped::kGroups - 2; // in front of a group, whose region it reaches into
    const std::uint32_t root = RootUnit(shaped.file);
    const std::uint32_t group = ChildUnit(shaped.file, root, kIndex);
    SetChildUnit(shaped.file, root, kIndex, group + 1);
    const auto word = ContainerBytes::ValueAt<std::uint32_t>(shaped.file, At(group));
    ContainerBytes::SetValueAt(shaped.file, At(group + 1), word);
    EXPECT_THAT(ErrorOfReading(shaped.file), HasSubstr("values stand where they cannot be read"));
}
