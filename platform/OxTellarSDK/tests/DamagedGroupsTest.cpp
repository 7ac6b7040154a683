#include <OxTellarSDK/AttributeStream.h>

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

std::size_t EntryOffset(std::uint32_t groupUnit, std::size_t index) {
    return groupUnit * kUnitBytes + sizeof(Node) + index * sizeof(FileEntry);
}

FileEntry EntryAt(const std::string& file, std::uint32_t groupUnit, std::size_t index) {
    return ContainerBytes::ValueAt<FileEntry>(file, EntryOffset(groupUnit, index));
}

void SetChildUnit(std::string& file, std::uint32_t groupUnit, std::size_t index,
                  std::uint32_t childUnit) {
    FileEntry entry = EntryAt(file, groupUnit, index);
    entry.childUnit = childUnit;
    ContainerBytes::SetValueAt(file, EntryOffset(groupUnit, index), entry);
}

/// Child `to` gets the name of child `from`.
void CopyName(std::string& file, std::uint32_t groupUnit, std::size_t from, std::size_t to) {
    FileEntry entry = EntryAt(file, groupUnit, to);
    const FileEntry source = EntryAt(file, groupUnit, from);
    entry.nameHash = source.nameHash;
    entry.nameUnit = source.nameUnit;
    entry.nameLength = source.nameLength;
    ContainerBytes::SetValueAt(file, EntryOffset(groupUnit, to), entry);
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
    const std::uint32_t first = EntryAt(file, RootUnit(file), 0).childUnit;
    SetChildUnit(file, RootUnit(file), 1, first);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a child group outside of it"));
}

TEST(Damage, AGroupReferencedAsAGroupAndAsANumberIsRefused) {
    const GroupAttribute leaf({{"x", IntAttribute(1)}}, true);
    std::string file =
        ContainerBytes::Write(GroupAttribute({{"a", leaf}, {"b", IntAttribute(1)}}, true));
    const std::uint32_t group = EntryAt(file, RootUnit(file), 0).childUnit;
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
    const std::uint32_t first = EntryAt(file, RootUnit(file), 0).childUnit;
    const std::uint32_t second = EntryAt(file, RootUnit(file), 1).childUnit;
    const std::uint32_t stolen = EntryAt(file, first, 0).childUnit;
    SetChildUnit(file, second, 0, stolen);
    // Its own region, stretched over that of its sibling, so that the thief itself looks sound.
    ContainerBytes::SetValueAt(file, second * 16ull + offsetof(Node, firstUnit), std::uint32_t(4));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group lies outside of its parent"));
}

TEST(Damage, AGroupDeeperThanItsDeclaredDepthIsRefused) {
    GroupAttribute chain(true);
    for (int i = 0; i < 5; ++i)
        chain = GroupAttribute({{"g", chain}}, true);
    std::string file = ContainerBytes::Write(chain);
    ContainerBytes::SetValueAt(file, RootUnit(file) * 16ull + offsetof(Node, depth),
                               std::uint16_t(2));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group has an impossible depth"));
}

TEST(Damage, AGroupDeeperThanTheLimitIsRefused) {
    std::string file = ContainerBytes::Write(GroupAttribute(true));
    ContainerBytes::SetValueAt(file, RootUnit(file) * 16ull + offsetof(Node, depth),
                               std::uint16_t(2049));
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a group has an impossible depth"));
}

TEST(Damage, TwoChildrenOfTheSameNameAreRefused) {
    for (const int count : {2, 8, 9, 100}) {
        std::vector<GroupAttribute::Child> children;
        for (int i = 0; i < count; ++i)
            children.emplace_back("name" + std::to_string(i), IntAttribute(i));
        std::string file = ContainerBytes::Write(GroupAttribute(children, true));
        // In order of hashes, two neighbours keep their order when one takes the other's name.
        std::size_t from = 0, to = 1;
        if (count > 8) {
            const std::size_t sorted = RootUnit(file) * 16ull + sizeof(Node) + 16ull * count;
            from = ContainerBytes::ValueAt<std::uint32_t>(file, sorted);
            to = ContainerBytes::ValueAt<std::uint32_t>(file, sorted + 4);
            if (from > to) {
                ContainerBytes::SetValueAt(file, sorted, static_cast<std::uint32_t>(to));
                ContainerBytes::SetValueAt(file, sorted + 4, static_cast<std::uint32_t>(from));
            }
        }
        CopyName(file, RootUnit(file), from, to);
        EXPECT_THAT(ErrorOfReading(file), HasSubstr("two children of one name")) << count;
    }
}

namespace {

/// A group of null attributes with these names, all of one hash, made without the writer: it would
/// refuse to.
std::string FileOfNames(const std::vector<std::string>& names) {
    std::string values = ContainerBytes::Write(NullAttribute()).substr(0, 64 + sizeof(Node));
    std::string entries, indices;
    for (const std::string& name : names) {
        const auto unit = static_cast<std::uint32_t>(values.size() / kUnitBytes);
        const FileEntry entry{
            HashName(name), unit, 4, static_cast<std::uint16_t>(name.size()), 0, 0};
        const auto index = static_cast<std::uint32_t>(indices.size() / 4);
        entries.append(reinterpret_cast<const char*>(&entry), sizeof entry);
        indices.append(reinterpret_cast<const char*>(&index), sizeof index);
        values += name;
        values.resize(AlignUp(values.size() + 1));
    }
    const auto root = static_cast<std::uint32_t>(values.size() / kUnitBytes);
    std::string node(sizeof(Node), '\0');
    ContainerBytes::SetValueAt(node, offsetof(Node, type), std::int8_t(kAttributeTypeGroup));
    ContainerBytes::SetValueAt(node, offsetof(Node, flags), std::uint8_t(kInFile | kGroupInherit));
    ContainerBytes::SetValueAt(node, offsetof(Node, depth), std::uint16_t(1));
    ContainerBytes::SetValueAt(node, offsetof(Node, unit), root);
    ContainerBytes::SetValueAt(node, offsetof(Node, firstUnit), root);
    ContainerBytes::SetValueAt(node, offsetof(Node, count), std::uint64_t(names.size()));
    return ContainerBytes::WithFrame(values + node + entries + indices, root);
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
    const std::string file = ContainerBytes::Write(FloatAttribute({1, 2, 3}, 1));
    const std::size_t node = RootUnit(file) * 16ull;
    for (const std::uint64_t count :
         {std::uint64_t(5), std::uint64_t(1) << 20, std::uint64_t(1) << 40, std::uint64_t(1) << 62,
          ~std::uint64_t(0), (~std::uint64_t(0)) / 4 + 2}) {
        std::string mutant = file;
        ContainerBytes::SetValueAt(mutant, node + offsetof(Node, count), count);
        EXPECT_THAT(ErrorOfReading(mutant), HasSubstr("an attribute leads outside")) << count;
    }
}

TEST(Damage, ManyEmptySamplesAreRefusedWithoutAllocation) {
    std::string file = ContainerBytes::Write(FloatAttribute({{1.0f, {}}, {2.0f, {}}}, 1));
    const std::size_t node = RootUnit(file) * 16ull;
    ContainerBytes::SetValueAt(file, node + offsetof(Node, timeCount), 0xffffffffu);
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

TEST(Damage, ANameThatDiffersFromThatOfAnEqualGroupIsRefused) {
    const GroupAttribute entry({{"size", IntAttribute(1)}, {"name", IntAttribute(2)}}, true);
    std::string file =
        ContainerBytes::Write(GroupAttribute({{"a", entry}, {"b", entry}, {"c", entry}}, true));
    const std::uint32_t second = EntryAt(file, RootUnit(file), 1).childUnit;
    FileEntry name = EntryAt(file, second, 0);
    name.nameLength = 3;
    ContainerBytes::SetValueAt(file, EntryOffset(second, 0), name);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a name that is not what it states"));
    CopyName(file, second, 1, 0);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("two children of one name"));
}

TEST(Damage, ANullAttributeHasNoTupleSize) {
    std::string file = ContainerBytes::Write(NullAttribute());
    ContainerBytes::SetValueAt(file, RootUnit(file) * 16ull + offsetof(Node, tupleSize), 1u);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("a null attribute has values"));
}

TEST(Damage, AValueHasOnlyOneRepresentation) {
    const IntAttribute elsewhere(std::map<float, std::vector<int>>{{2.0f, {7}}}, 1);
    std::string file = ContainerBytes::Write(elsewhere);
    ContainerBytes::SetValueAt(file, RootUnit(file) * 16ull + sizeof(Node), 0.0f);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("the time that goes without saying"));
}

TEST(Damage, AWideGroupOfOneSharedNameIsRefusedQuickly) {
    // 60,000 entries that all lead to one name of 65,535 bytes: 4 GB to compare, in 1 MB.
    const std::string name(65535, 'n');
    std::vector<GroupAttribute::Child> children = {{name, IntAttribute(1)}};
    for (int i = 0; i < 60000; ++i)
        children.emplace_back(std::to_string(i), IntAttribute(1));
    std::string file = ContainerBytes::Write(GroupAttribute(children, true));
    const std::uint32_t root = RootUnit(file);
    for (std::size_t i = 1; i <= 60000; ++i)
        CopyName(file, root, 0, i);
    EXPECT_THAT(ErrorOfReading(file), HasSubstr("is damaged"));
}
