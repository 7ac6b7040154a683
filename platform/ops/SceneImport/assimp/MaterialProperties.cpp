#include "MaterialProperties.h"

#include <cstdint>
#include <cstring>

namespace TellarSceneImport {

namespace {

template <typename Number>
std::vector<float> ReadNumbers(const aiMaterialProperty& property) {
    std::vector<float> numbers;
    for (unsigned at = 0; at + sizeof(Number) <= property.mDataLength; at += sizeof(Number)) {
        Number number;
        std::memcpy(&number, property.mData + at, sizeof number);
        numbers.push_back(static_cast<float>(number));
    }
    return numbers;
}

// Enumerations and booleans are stored as raw bytes.
std::vector<float> ReadBuffer(const aiMaterialProperty& property) {
    return property.mDataLength % sizeof(std::int32_t) == 0 ? ReadNumbers<std::int32_t>(property)
                                                            : ReadNumbers<std::uint8_t>(property);
}

} // namespace

const aiMaterialProperty* MaterialProperties::find(const char* key, unsigned semantic,
                                                   unsigned index) const {
    for (unsigned i = 0; i < material.mNumProperties; ++i) {
        const aiMaterialProperty* property = material.mProperties[i];
        if (property && property->mSemantic == semantic && property->mIndex == index &&
            std::strcmp(property->mKey.C_Str(), key) == 0)
            return property;
    }
    return nullptr;
}

std::vector<float> MaterialProperties::numbers(const char* key, unsigned semantic,
                                               unsigned index) const {
    const aiMaterialProperty* property = find(key, semantic, index);
    if (!property) return {};
    switch (property->mType) {
    case aiPTI_Float:
        return ReadNumbers<float>(*property);
    case aiPTI_Double:
        return ReadNumbers<double>(*property);
    case aiPTI_Integer:
        return ReadNumbers<std::int32_t>(*property);
    case aiPTI_Buffer:
        return ReadBuffer(*property);
    default:
        return {};
    }
}

std::optional<float> MaterialProperties::number(const char* key, unsigned semantic,
                                                unsigned index) const {
    const std::vector<float> found = numbers(key, semantic, index);
    return found.empty() ? std::nullopt : std::optional(found[0]);
}

std::optional<std::array<float, 3>> MaterialProperties::color(const char* key, unsigned semantic,
                                                              unsigned index) const {
    const std::vector<float> found = numbers(key, semantic, index);
    if (found.size() < 3) return std::nullopt;
    return std::array<float, 3>{found[0], found[1], found[2]};
}

std::string MaterialProperties::text(const char* key, unsigned semantic, unsigned index) const {
    const aiMaterialProperty* property = find(key, semantic, index);
    // Stored as a 32-bit length, the characters and a NUL.
    std::uint32_t length = 0;
    if (!property || property->mType != aiPTI_String || property->mDataLength < sizeof length)
        return {};
    std::memcpy(&length, property->mData, sizeof length);
    if (length > property->mDataLength - sizeof length) return {};
    return std::string(property->mData + sizeof length, length);
}

} // namespace TellarSceneImport
