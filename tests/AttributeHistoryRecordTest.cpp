#include <OxTellarProducers/AttributeHistoryRecord.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using TELLAR::AttributeHistoryRecord;

// A name that fits into the string object, and one that does not: they are moved differently.
constexpr const char* kShortName = "xform";
constexpr const char* kLongName = "geometry.arbitrary.a name too long for a small string";

TEST(AttributeHistoryRecord, IsEmptyByDefault) {
    const AttributeHistoryRecord record;
    EXPECT_EQ(record.name, "");
    EXPECT_FALSE(record.attr.isValid());
}

TEST(AttributeHistoryRecord, HoldsTheNameAndAttributeItWasMadeWith) {
    const AttributeHistoryRecord record(kShortName, Int(7));
    EXPECT_EQ(record.name, "xform");
    EXPECT_EQ(IntOf(record.attr), 7);
}

TEST(AttributeHistoryRecord, LeavesTheOriginalAsItWasWhenCopied) {
    const AttributeHistoryRecord record(kLongName, Int(7));
    const AttributeHistoryRecord copy(record);
    EXPECT_EQ(copy.name, kLongName);
    EXPECT_EQ(copy.attr, record.attr);
    EXPECT_EQ(record.name, kLongName);
    EXPECT_EQ(IntOf(record.attr), 7);
}

TEST(AttributeHistoryRecord, ReplacesBothMembersOnAssignment) {
    const AttributeHistoryRecord record(kLongName, Int(7));
    AttributeHistoryRecord assigned(kShortName, Int(1));
    assigned = record;
    EXPECT_EQ(assigned.name, kLongName);
    EXPECT_EQ(IntOf(assigned.attr), 7);
    EXPECT_EQ(record.name, kLongName);
    EXPECT_EQ(IntOf(record.attr), 7);
}

TEST(AttributeHistoryRecord, SurvivesBeingAssignedToItself) {
    AttributeHistoryRecord record(kLongName, Int(7));
    AttributeHistoryRecord& itself = record;
    record = itself;
    EXPECT_EQ(record.name, kLongName);
    EXPECT_EQ(IntOf(record.attr), 7);
    record = std::move(itself);
    EXPECT_EQ(record.name, kLongName);
    EXPECT_EQ(IntOf(record.attr), 7);
}

class AttributeHistoryRecordMoves : public testing::TestWithParam<const char*> {};

TEST_P(AttributeHistoryRecordMoves, LeaveTheSourcesNameEmptyOnConstruction) {
    AttributeHistoryRecord source(GetParam(), Int(7));
    const AttributeHistoryRecord moved(std::move(source));
    EXPECT_EQ(moved.name, GetParam());
    EXPECT_EQ(IntOf(moved.attr), 7);
    EXPECT_EQ(source.name, ""); // NOLINT(bugprone-use-after-move): that is what it promises
}

TEST_P(AttributeHistoryRecordMoves, LeaveTheSourcesNameEmptyOnAssignment) {
    AttributeHistoryRecord source(GetParam(), Int(7));
    AttributeHistoryRecord moved("the name before", Int(1));
    moved = std::move(source);
    EXPECT_EQ(moved.name, GetParam());
    EXPECT_EQ(IntOf(moved.attr), 7);
    EXPECT_EQ(source.name, ""); // NOLINT(bugprone-use-after-move): that is what it promises
}

INSTANTIATE_TEST_SUITE_P(Names, AttributeHistoryRecordMoves, testing::Values(kShortName, kLongName),
                         [](const auto& param) { return param.index == 0 ? "Short" : "Long"; });

TEST(AttributeHistoryRecord, HasItsNameInFrontOfItsAttribute) {
    static_assert(std::is_standard_layout_v<AttributeHistoryRecord> ||
                  !std::is_polymorphic_v<AttributeHistoryRecord>);
    const AttributeHistoryRecord record;
    const auto* start = reinterpret_cast<const char*>(&record);
    EXPECT_EQ(reinterpret_cast<const char*>(&record.name), start);
    EXPECT_GT(reinterpret_cast<const char*>(&record.attr), start);
}

} // namespace
