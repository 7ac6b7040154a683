#include "reading/UvValues.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace lantern {

namespace {

std::vector<V2f> ToUvs(const Attribute& attribute, float time) {
    const std::vector<float> numbers = attribute.floatsAt(time);
    const auto tuple = static_cast<std::size_t>(std::max<std::int64_t>(attribute.tupleSize(), 1));
    const std::size_t stride = tuple >= 2 ? tuple : 2; // some scenes store pairs with tuple size 1
    std::vector<V2f> uvs(numbers.size() / stride);
    for (std::size_t i = 0; i < uvs.size(); ++i)
        uvs[i] = V2f(numbers[i * stride], numbers[i * stride + 1]);
    return uvs;
}

/// Three numbers each, or four with alpha. Numbers without a tuple size have three.
std::vector<Imath::C4f> ToColors(const Attribute& attribute, float time) {
    const std::vector<float> numbers = attribute.floatsAt(time);
    const auto tuple = static_cast<std::size_t>(std::max<std::int64_t>(attribute.tupleSize(), 1));
    const std::size_t stride = tuple >= 3 ? tuple : 3;
    std::vector<Imath::C4f> colors(numbers.size() / stride);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const float* const v = &numbers[i * stride];
        colors[i] = Imath::C4f(v[0], v[1], v[2], stride > 3 ? v[3] : 1);
    }
    return colors;
}

bool IsFinite(const V2f& uv) {
    return std::isfinite(uv.x) && std::isfinite(uv.y);
}

bool IsFinite(const Imath::C4f& color) {
    return std::isfinite(color.r) && std::isfinite(color.g) && std::isfinite(color.b) &&
           std::isfinite(color.a);
}

/// `convert` makes values from an attribute.
template <typename Value>
std::optional<IndexedValues<Value>>
ReadIndexedValues(const Attribute& set, std::size_t elements, float time,
                  std::vector<Value> (*convert)(const Attribute&, float)) {
    IndexedValues<Value> result;
    if (const Attribute value = set.child("value")) {
        result.values = convert(value, time);
        if (result.values.size() != elements) return {};
    } else {
        result.values = convert(set.child("indexedValue"), time);
        for (const std::int32_t index : set.child("index").ints())
            result.index.push_back(static_cast<Index>(index)); // negative indices become too large
        const auto isInside = [&](Index index) { return index < result.values.size(); };
        if (result.index.size() != elements ||
            !std::all_of(result.index.begin(), result.index.end(), isInside))
            return {};
    }
    const bool isFinite = std::all_of(result.values.begin(), result.values.end(),
                                      [](const Value& value) { return IsFinite(value); });
    return isFinite ? std::optional<IndexedValues<Value>>(std::move(result)) : std::nullopt;
}

/// Whether the name is the prefix with or without a number.
bool IsNumbered(std::string_view prefix, std::string_view name) {
    return name.substr(0, prefix.size()) == prefix &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

bool IsUvSet(std::string_view name, const Attribute& set) {
    return IsNumbered("st", name) || set.child("inputType").isTextEqual("point2");
}

bool IsColorSet(std::string_view name, const Attribute& set) {
    const std::string type = set.child("inputType").text();
    return IsNumbered("color", name) || type == "color3" || type == "color4";
}

std::optional<Scope> ReadScope(const Attribute& uvSet) {
    const std::string scope = uvSet.child("scope").text("point");
    if (scope == "point") return Scope::Point;
    if (scope == "vertex") return Scope::Vertex;
    if (scope == "face") return Scope::Face;
    if (scope == "primitive") return Scope::Primitive;
    return {};
}

std::optional<IndexedUvs> ReadIndexedUvs(const Attribute& uvSet, std::size_t elements, float time) {
    return ReadIndexedValues(uvSet, elements, time, ToUvs);
}

std::optional<IndexedColors> ReadIndexedColors(const Attribute& colorSet, std::size_t elements,
                                               float time) {
    return ReadIndexedValues(colorSet, elements, time, ToColors);
}

} // namespace lantern
