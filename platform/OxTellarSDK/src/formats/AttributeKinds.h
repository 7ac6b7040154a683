#ifndef OXTELLARSDK_ATTRIBUTEKINDS_H
#define OXTELLARSDK_ATTRIBUTEKINDS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include <OxTellarSDK/Attribute.h>

/// Types and samples of attributes, for the readers and writers of all text formats.

namespace OxAttribute {

/// The word for a type in texts.
inline const char* TypeWord(AttributeType type) {
    switch (type) {
    case kAttributeTypeInt:
        return "int";
    case kAttributeTypeFloat:
        return "float";
    case kAttributeTypeDouble:
        return "double";
    case kAttributeTypeString:
        return "string";
    case kAttributeTypeGroup:
        return "group";
    default:
        return "null";
    }
}

/// A number type with its article, for messages.
template <typename T>
const char* NumberKind() {
    if (std::is_integral_v<T>) return "an int";
    return sizeof(T) == 4 ? "a float" : "a double";
}

/// Calls `visit` with a valid attribute as an object of the class of its type.
template <typename Visit>
void VisitAttribute(const Attribute& attribute, Visit visit) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return visit(IntAttribute(attribute));
    case kAttributeTypeFloat:
        return visit(FloatAttribute(attribute));
    case kAttributeTypeDouble:
        return visit(DoubleAttribute(attribute));
    case kAttributeTypeString:
        return visit(StringAttribute(attribute));
    case kAttributeTypeGroup:
        return visit(GroupAttribute(attribute));
    default:
        return visit(NullAttribute(attribute));
    }
}

/// The samples of an attribute that is being read: ascending times, at least one, and the values
/// of one sample after the other, as many for each time.
template <typename T>
struct Samples {
    std::vector<float> times;
    std::vector<T> values;
};

/// The attribute with these samples. Throws as the constructors of attributes do.
template <typename T>
Attribute MakeAttribute(const Samples<T>& samples, std::int64_t tupleSize) {
    const std::size_t count = samples.values.size() / samples.times.size();
    if constexpr (std::is_same_v<T, std::string>) {
        std::map<float, std::vector<std::string>> byTime;
        auto first = samples.values.begin();
        for (const float time : samples.times) {
            byTime.emplace(time, std::vector<std::string>(first, first + count));
            first += count;
        }
        return StringAttribute(byTime, tupleSize);
    } else {
        return NumericAttribute<T>(
            samples.times.data(), static_cast<std::int64_t>(samples.times.size()),
            samples.values.data(), static_cast<std::int64_t>(count), tupleSize);
    }
}

} // namespace OxAttribute

#endif
