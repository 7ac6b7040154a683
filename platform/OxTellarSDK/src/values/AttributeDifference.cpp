#include <OxTellarSDK/AttributeDifference.h>

#include <cstring>

namespace OxAttribute {

namespace {

bool HaveEqualShape(const DataAttribute& a, const DataAttribute& b) {
    if (a.getTupleSize() != b.getTupleSize() || a.getNumberOfValues() != b.getNumberOfValues() ||
        a.getNumberOfTimeSamples() != b.getNumberOfTimeSamples())
        return false;
    for (std::int64_t i = 0; i < a.getNumberOfTimeSamples(); ++i)
        if (a.getSampleTime(i) != b.getSampleTime(i)) return false;
    return true;
}

template <typename T>
bool HaveEqualNumbers(const NumericAttribute<T>& a, const NumericAttribute<T>& b) {
    if (!HaveEqualShape(a, b)) return false;
    for (std::int64_t i = 0; i < a.getNumberOfTimeSamples(); ++i) {
        const ConstSample<T> left = a.getNearestSample(a.getSampleTime(i));
        const ConstSample<T> right = b.getNearestSample(b.getSampleTime(i));
        // Bit by bit, as hashes are made.
        if (!left.empty() && std::memcmp(left.data(), right.data(), left.size() * sizeof(T)) != 0)
            return false;
    }
    return true;
}

bool HaveEqualTexts(const StringAttribute& a, const StringAttribute& b) {
    if (!HaveEqualShape(a, b)) return false;
    for (std::int64_t i = 0; i < a.getNumberOfTimeSamples(); ++i) {
        const ConstStringSample left = a.getSample(i);
        const ConstStringSample right = b.getSample(i);
        for (std::size_t value = 0; value < left.size(); ++value)
            if (left[value] != right[value]) return false;
    }
    return true;
}

/// Groups are nested at most kMaxGroupDepth levels deep, so this may call itself.
bool HaveEqualChildren(const GroupAttribute& a, const GroupAttribute& b) {
    const std::int64_t count = a.getNumberOfChildren();
    if (count != b.getNumberOfChildren() || a.getGroupInherit() != b.getGroupInherit())
        return false;
    for (std::int64_t i = 0; i < count; ++i)
        if (a.getChildNameView(i) != b.getChildNameView(i)) return false;
    for (std::int64_t i = 0; i < count; ++i)
        if (!HaveEqualContent(a.getChildByIndex(i), b.getChildByIndex(i))) return false;
    return true;
}

} // namespace

bool HaveEqualContent(const Attribute& a, const Attribute& b) {
    if (a.getHandle() == b.getHandle()) return true;
    if (a.getType() != b.getType()) return false;
    const Hash hashOfA = a.getKeptHash();
    const Hash hashOfB = b.getKeptHash();
    if (hashOfA != Hash() && hashOfB != Hash()) return hashOfA == hashOfB;
    switch (a.getType()) {
    case kAttributeTypeInt:
        return HaveEqualNumbers(IntAttribute(a), IntAttribute(b));
    case kAttributeTypeFloat:
        return HaveEqualNumbers(FloatAttribute(a), FloatAttribute(b));
    case kAttributeTypeDouble:
        return HaveEqualNumbers(DoubleAttribute(a), DoubleAttribute(b));
    case kAttributeTypeString:
        return HaveEqualTexts(StringAttribute(a), StringAttribute(b));
    case kAttributeTypeGroup:
        return HaveEqualChildren(GroupAttribute(a), GroupAttribute(b));
    default:
        return true; // null attributes have no content
    }
}

std::vector<std::string> DifferingChildren(const GroupAttribute& before,
                                           const GroupAttribute& after) {
    std::vector<std::string> names;
    if (before.getHandle() == after.getHandle()) return names;
    for (std::int64_t i = 0; i < after.getNumberOfChildren(); ++i) {
        const std::string_view name = after.getChildNameView(i);
        const std::int64_t place = before.findChild(name, i);
        if (place < 0 || !HaveEqualContent(before.getChildByIndex(place), after.getChildByIndex(i)))
            names.emplace_back(name);
    }
    for (std::int64_t i = 0; i < before.getNumberOfChildren(); ++i) {
        const std::string_view name = before.getChildNameView(i);
        if (after.findChild(name, i) < 0) names.emplace_back(name);
    }
    return names;
}

} // namespace OxAttribute
