#include "PlyBody.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <system_error>

namespace TellarSceneImport {

namespace {

template <typename To, typename From>
double Reinterpret(From bits) {
    To value;
    static_assert(sizeof(value) == sizeof(bits), "the bits of a number");
    std::memcpy(&value, &bits, sizeof(value));
    return static_cast<double>(value);
}

double ToNumber(std::uint64_t bits, PlyType type) {
    switch (type) {
    case PlyType::Int8:
        return Reinterpret<std::int8_t>(static_cast<std::uint8_t>(bits));
    case PlyType::Int16:
        return Reinterpret<std::int16_t>(static_cast<std::uint16_t>(bits));
    case PlyType::Int32:
        return Reinterpret<std::int32_t>(static_cast<std::uint32_t>(bits));
    case PlyType::Float32:
        return Reinterpret<float>(static_cast<std::uint32_t>(bits));
    case PlyType::Float64:
        return Reinterpret<double>(bits);
    default:
        return static_cast<double>(bits);
    }
}

} // namespace

double PlyBody::takeBinary(PlyType type) {
    const std::size_t bytes = BytesOf(type);
    if (rest.size() < bytes) ThrowPlyTooShort();
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t at = format == PlyFormat::BigEndian ? i : bytes - 1 - i;
        bits = bits << 8 | static_cast<unsigned char>(rest[at]);
    }
    rest.remove_prefix(bytes);
    return ToNumber(bits, type);
}

double PlyBody::takeWord() {
    std::string_view word = TakePlyWord(rest);
    if (word.empty()) ThrowPlyTooShort();
    if (word.front() == '+') word.remove_prefix(1);
    double value = 0;
    const char* const last = word.data() + word.size();
    const auto [end, error] = std::from_chars(word.data(), last, value);
    if (error == std::errc::result_out_of_range) return value; // too small or too large
    if (error != std::errc() || end != last)
        ThrowPlyError("\"" + std::string(word.substr(0, 40)) + "\" is not a number");
    return value;
}

double PlyBody::takeValue(PlyType type) {
    return format == PlyFormat::Text ? takeWord() : takeBinary(type);
}

void PlyBody::takeList(const PlyProperty& property, std::vector<double>& list) {
    const double length = takeValue(*property.lengthType);
    if (!(length >= 0) || length != std::floor(length)) ThrowPlyError("a list has no length");
    const std::size_t bytes = format == PlyFormat::Text ? 2 : BytesOf(property.type);
    if (length > double((rest.size() + 1) / bytes)) ThrowPlyTooShort();
    for (auto left = static_cast<std::size_t>(length); left > 0; --left)
        list.push_back(takeValue(property.type));
}

void PlyBody::takeRow(const PlyElement& element, PlyRow& row) {
    row.values.assign(element.properties.size(), 0);
    row.lists.resize(element.properties.size());
    for (std::size_t i = 0; i < element.properties.size(); ++i) {
        const PlyProperty& property = element.properties[i];
        row.lists[i].clear();
        if (property.lengthType)
            takeList(property, row.lists[i]);
        else
            row.values[i] = takeValue(property.type);
    }
}

} // namespace TellarSceneImport
