#ifndef TELLAR_PLATFORM_VALUEMEMORY_H
#define TELLAR_PLATFORM_VALUEMEMORY_H

#include <cstdint>
#include <utility>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// About how many bytes the values of an attribute take, without its head. 0 for a group.
inline std::uint64_t MemoryOfValues(OxAttribute::Attribute attribute) {
    using namespace OxAttribute;
    constexpr std::uint64_t kTextBytes = 32; // texts are short, as a rule
    const auto all = [](const auto& data, std::uint64_t bytesEach) {
        return bytesEach *
               static_cast<std::uint64_t>(data.getNumberOfValues() * data.getNumberOfTimeSamples());
    };
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return all(IntAttribute(std::move(attribute)), sizeof(std::int32_t));
    case kAttributeTypeFloat:
        return all(FloatAttribute(std::move(attribute)), sizeof(float));
    case kAttributeTypeDouble:
        return all(DoubleAttribute(std::move(attribute)), sizeof(double));
    case kAttributeTypeString:
        return all(StringAttribute(std::move(attribute)), kTextBytes);
    default:
        return 0;
    }
}

} // namespace TELLAR

#endif
