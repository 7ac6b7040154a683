#include "ValueComparison.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

#include <OxTellarSDK/AttributeDifference.h>

namespace TELLAR {

namespace {

using namespace OxAttribute;

/// "/geometry/point/P" for "geometry.point.P".
std::string AsPath(std::string_view name) {
    std::string path = "/" + std::string(name);
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

OxLocationPath::Patterns PatternsFrom(const std::vector<std::string>& texts) {
    std::vector<std::string> patterns;
    patterns.reserve(texts.size());
    for (const std::string& text : texts) {
        try {
            patterns.push_back(AsPath(text) + "/**"); // it and all in it
            static_cast<void>(OxLocationPath::Patterns({patterns.back()}));
        } catch (const std::runtime_error&) {
            throw std::runtime_error("\"" + text + "\" is no pattern of attribute names");
        }
    }
    return OxLocationPath::Patterns(patterns);
}

/// 0 and -0 are different bits, and so may be two values that are no numbers.
template <typename T>
bool HaveEqualBits(T before, T after) {
    std::uint64_t left = 0;
    std::uint64_t right = 0;
    std::memcpy(&left, &before, sizeof(T));
    std::memcpy(&right, &after, sizeof(T));
    return left == right;
}

/// How far two numbers are from each other: 0 for two that are no numbers.
template <typename T>
double Distance(T before, T after) {
    const auto left = static_cast<double>(before);
    const auto right = static_cast<double>(after);
    if (left == right || (std::isnan(left) && std::isnan(right))) return 0;
    const double distance = std::abs(left - right);
    return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

/// Counts the values of one time sample that differ.
template <typename T>
void CountValues(const ConstSample<T>& before, const ConstSample<T>& after, double tolerance,
                 ValueDifference& found) {
    if (before.empty() || std::memcmp(before.data(), after.data(), before.size() * sizeof(T)) == 0)
        return;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (HaveEqualBits(before[i], after[i])) continue;
        const double distance = Distance(before[i], after[i]);
        if (tolerance > 0 && distance <= tolerance) continue;
        ++found.differing;
        found.largest = std::max(found.largest, distance);
    }
}

void CountValues(const ConstStringSample& before, const ConstStringSample& after, double,
                 ValueDifference& found) {
    for (std::size_t i = 0; i < before.size(); ++i)
        if (before[i] != after[i]) ++found.differing;
}

template <typename T>
ConstSample<T> SampleAt(const NumericAttribute<T>& attribute, std::int64_t index) {
    return attribute.getNearestSample(attribute.getSampleTime(index));
}

ConstStringSample SampleAt(const StringAttribute& attribute, std::int64_t index) {
    return attribute.getSample(index);
}

bool HaveEqualTimes(const DataAttribute& a, const DataAttribute& b) {
    if (a.getNumberOfTimeSamples() != b.getNumberOfTimeSamples()) return false;
    for (std::int64_t i = 0; i < a.getNumberOfTimeSamples(); ++i)
        if (a.getSampleTime(i) != b.getSampleTime(i)) return false;
    return true;
}

/// Fills in the kind and the counts. Returns false when the values are equal.
template <typename AttributeT>
bool CompareData(const AttributeT& before, const AttributeT& after, double tolerance,
                 ValueDifference& found) {
    const bool haveEqualSizes = before.getTupleSize() == after.getTupleSize() &&
                                before.getNumberOfValues() == after.getNumberOfValues();
    const bool haveEqualTimes = HaveEqualTimes(before, after);
    found.kind = !haveEqualSizes   ? ValueDifference::Size
                 : !haveEqualTimes ? ValueDifference::Times
                                   : ValueDifference::Values;
    const std::int64_t samples = before.getNumberOfTimeSamples();
    if (haveEqualSizes && samples == after.getNumberOfTimeSamples()) {
        found.compared = samples * before.getNumberOfValues();
        for (std::int64_t i = 0; i < samples; ++i)
            CountValues(SampleAt(before, i), SampleAt(after, i), tolerance, found);
    }
    return found.kind != ValueDifference::Values || found.differing > 0;
}

/// The same for two values of one type, which are no groups.
bool CompareLeaves(double tolerance, ValueDifference& found) {
    switch (found.before.getType()) {
    case kAttributeTypeInt:
        return CompareData(IntAttribute(found.before), IntAttribute(found.after), tolerance, found);
    case kAttributeTypeFloat:
        return CompareData(FloatAttribute(found.before), FloatAttribute(found.after), tolerance,
                           found);
    case kAttributeTypeDouble:
        return CompareData(DoubleAttribute(found.before), DoubleAttribute(found.after), tolerance,
                           found);
    case kAttributeTypeString:
        return CompareData(StringAttribute(found.before), StringAttribute(found.after), tolerance,
                           found);
    default:
        return false; // null attributes have no content
    }
}

/// The kind of difference that follows from the types alone; nothing when they are the same.
std::optional<ValueDifference::Kind> DifferenceOfTypes(const Attribute& before,
                                                       const Attribute& after) {
    if (!before.isValid()) return ValueDifference::Added;
    if (!after.isValid()) return ValueDifference::Removed;
    if (before.getType() != after.getType()) return ValueDifference::Type;
    return std::nullopt;
}

/// Whether two values are one, or have hashes that say that they are equal.
bool AreKnownToBeEqual(const Attribute& a, const Attribute& b) {
    if (a.getHandle() == b.getHandle()) return true;
    const Hash hash = a.getKeptHash();
    return hash != Hash() && hash == b.getKeptHash();
}

/// False for groups, of which more is to be found out.
bool IsEqualLeaf(const Attribute& a, const Attribute& b) {
    return a.getType() != kAttributeTypeGroup && HaveEqualContent(a, b);
}

bool IsEmptyGroup(const Attribute& value) {
    return value.getType() == kAttributeTypeGroup &&
           GroupAttribute(value).getNumberOfChildren() == 0;
}

std::string ChildName(const std::string& group, std::string_view child) {
    return group.empty() ? std::string(child) : group + '.' + std::string(child);
}

/// Whether the children that both groups have are in one order.
bool HaveEqualOrder(const GroupAttribute& before, const GroupAttribute& after) {
    std::int64_t last = -1;
    for (std::int64_t i = 0; i < after.getNumberOfChildren(); ++i) {
        const std::int64_t place = before.findChild(after.getChildNameView(i), i);
        if (place >= 0 && place < last) return false;
        last = std::max(last, place);
    }
    return true;
}

} // namespace

ValueComparison::ValueComparison(double tolerance, const std::vector<std::string>& patterns)
    : tolerance(tolerance), patterns(PatternsFrom(patterns)) {
    if (!(tolerance >= 0))
        throw std::invalid_argument("the tolerance is negative or is not a number");
}

std::vector<ValueDifference> ValueComparison::compare(const GroupAttribute& before,
                                                      const GroupAttribute& after) const {
    Differences found;
    compareGroups({}, before, after, found);
    return found;
}

/// Groups are nested at most kMaxGroupDepth levels deep, so this may call itself. One of the groups
/// may be invalid and has no children then.
void ValueComparison::compareGroups(const std::string& name, const GroupAttribute& before,
                                    const GroupAttribute& after, Differences& found) const {
    if (AreKnownToBeEqual(before, after)) return;
    for (std::int64_t i = 0; i < after.getNumberOfChildren(); ++i) {
        const std::string_view child = after.getChildNameView(i);
        const Attribute value = after.getChildByIndex(i);
        const Attribute old = before.getChildByIndex(before.findChild(child, i));
        if (!IsEqualLeaf(old, value)) compareValues(ChildName(name, child), old, value, found);
    }
    for (std::int64_t i = 0; i < before.getNumberOfChildren(); ++i) {
        const std::string_view child = before.getChildNameView(i);
        if (after.findChild(child, i) < 0)
            compareValues(ChildName(name, child), before.getChildByIndex(i), {}, found);
    }
    if (!before.isValid() || !after.isValid() || !isWanted(name)) return;
    if (before.getGroupInherit() != after.getGroupInherit())
        found.push_back({name, ValueDifference::Inheritance, before, after});
    if (!HaveEqualOrder(before, after))
        found.push_back({name, ValueDifference::OrderOfGroup, before, after});
}

void ValueComparison::compareValues(const std::string& name, const Attribute& before,
                                    const Attribute& after, Differences& found) const {
    if (!isWantedBelow(name) || AreKnownToBeEqual(before, after)) return;
    const bool isGroup =
        before.getType() == kAttributeTypeGroup || after.getType() == kAttributeTypeGroup;
    const auto difference = DifferenceOfTypes(before, after);
    const bool isListed = difference && (*difference == ValueDifference::Type ||
                                         IsEmptyGroup(before) || IsEmptyGroup(after));
    if (isGroup && !isListed) return compareGroups(name, before, after, found);
    if (!isWanted(name)) return;
    ValueDifference one{name, difference.value_or(ValueDifference::Values), before, after};
    if (difference || CompareLeaves(tolerance, one)) found.push_back(std::move(one));
}

bool ValueComparison::isWanted(std::string_view name) const {
    return patterns.isEmpty() || patterns.matches(AsPath(name));
}

bool ValueComparison::isWantedBelow(std::string_view name) const {
    return patterns.isEmpty() || patterns.mayMatchBelow(AsPath(name)) || isWanted(name);
}

} // namespace TELLAR
