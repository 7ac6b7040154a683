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

} // namespace

bool IsUvSet(std::string_view name) {
    return name.substr(0, 2) == "st" &&
           std::all_of(name.begin() + 2, name.end(), [](char c) { return c >= '0' && c <= '9'; });
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
    IndexedUvs uvs;
    if (const Attribute value = uvSet.child("value")) {
        uvs.values = ToUvs(value, time);
        if (uvs.values.size() != elements) return {};
    } else {
        uvs.values = ToUvs(uvSet.child("indexedValue"), time);
        for (const std::int32_t index : uvSet.child("index").ints())
            uvs.index.push_back(static_cast<Index>(index)); // negative indices become too large
        const bool isInside = std::all_of(uvs.index.begin(), uvs.index.end(),
                                          [&](Index index) { return index < uvs.values.size(); });
        if (uvs.index.size() != elements || !isInside) return {};
    }
    const bool isFinite = std::all_of(uvs.values.begin(), uvs.values.end(), [](const V2f& uv) {
        return std::isfinite(uv.x) && std::isfinite(uv.y);
    });
    return isFinite ? std::optional<IndexedUvs>(std::move(uvs)) : std::nullopt;
}

} // namespace lantern
