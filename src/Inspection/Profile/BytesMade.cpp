#include "BytesMade.h"

#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

namespace {

using namespace OxAttribute;
using LocationData = TellarRuntime::LocationData;

/// Smaller values are not looked for under other names, which would take longer than to make them.
constexpr std::uint64_t kLargeValue = 1024;

std::uint64_t TextBytes(const StringAttribute& strings) {
    std::uint64_t bytes = 0;
    for (std::int64_t i = 0; i < strings.getNumberOfTimeSamples(); ++i) {
        const ConstStringSample sample = strings.getSample(i);
        for (std::size_t k = 0; k < sample.size(); ++k)
            bytes += sample[k].size();
    }
    return bytes;
}

std::uint64_t CountNumbers(const DataAttribute& numbers) {
    return static_cast<std::uint64_t>(numbers.getNumberOfValues() *
                                      numbers.getNumberOfTimeSamples());
}

std::uint64_t ValueBytes(const Attribute& value) {
    switch (value.getType()) {
    case kAttributeTypeInt:
        return CountNumbers(IntAttribute(value)) * 4;
    case kAttributeTypeFloat:
        return CountNumbers(FloatAttribute(value)) * 4;
    case kAttributeTypeDouble:
        return CountNumbers(DoubleAttribute(value)) * 8;
    case kAttributeTypeString:
        return TextBytes(value);
    default:
        return 0;
    }
}

bool IsIn(const Attribute& value, const GroupAttribute& group) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        const Attribute child = group.getChildByIndex(i);
        if (child.getHandle() == value.getHandle()) return true;
        if (IsIn(value, child)) return true;
    }
    return false;
}

/// Adds up what one result has and the locations that were read have not.
class Comparison {
public:
    Comparison(const LocationData* reads, std::size_t count) : reads(reads), count(count) {
        for (std::size_t i = 0; i < count; ++i)
            groups.push_back(reads[i].getAttrs());
    }

    std::uint64_t attributesMade(const GroupAttribute& attributes) {
        for (std::size_t i = 0; i < count; ++i)
            if (groups[i].getHandle() == attributes.getHandle()) return 0;
        return groupMade(attributes, 0, count);
    }

    std::uint64_t namesMade(const StringAttribute& names) const {
        for (std::size_t i = 0; i < count; ++i)
            if (reads[i].getPotentialChildren().getHandle() == names.getHandle()) return 0;
        return ValueBytes(names);
    }

private:
    /// `groups` from `first` on, `number` of them, stand where `group` does.
    std::uint64_t groupMade(const GroupAttribute& group, std::size_t first, std::size_t number) {
        std::uint64_t bytes = 0;
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            bytes += childMade(group, i, first, number);
        return bytes;
    }

    std::uint64_t childMade(const GroupAttribute& group, std::int64_t index, std::size_t first,
                            std::size_t number) {
        const Attribute child = group.getChildByIndex(index);
        const std::string_view name = group.getChildNameView(index);
        const std::size_t below = groups.size();
        bool isShared = false;
        for (std::size_t i = first; i < first + number && !isShared; ++i) {
            const std::int64_t place = groups[i].findChild(name, index);
            if (place < 0) continue;
            const GroupAttribute read(groups[i].getChildByIndex(place));
            isShared = groups[i].getChildByIndex(place).getHandle() == child.getHandle();
            if (read.isValid()) groups.push_back(read);
        }
        const std::uint64_t bytes = isShared ? 0 : made(child, below);
        groups.resize(below);
        return bytes;
    }

    /// For a value that was not read under its own name.
    std::uint64_t made(const Attribute& value, std::size_t below) {
        const GroupAttribute group(value);
        if (group.isValid()) return groupMade(group, below, groups.size() - below);
        const std::uint64_t bytes = ValueBytes(value);
        if (bytes < kLargeValue) return bytes;
        for (std::size_t i = 0; i < count; ++i)
            if (IsIn(value, groups[i])) return 0;
        return bytes;
    }

    const LocationData* const reads;
    const std::size_t count;
    std::vector<GroupAttribute> groups; // those of the locations, and of the levels below
};

} // namespace

std::uint64_t BytesMade(const LocationData& result, const LocationData* reads, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (reads[i].getRecord() == result.getRecord()) return 0;
    std::uint64_t bytes = 0;
    const GroupAttribute& attributes = result.getAttrs();
    const StringAttribute& names = result.getPotentialChildren();
    Comparison comparison(reads, count);
    if (attributes.isValid()) bytes += comparison.attributesMade(attributes);
    if (names.isValid()) bytes += comparison.namesMade(names);
    return bytes;
}

} // namespace TELLAR
