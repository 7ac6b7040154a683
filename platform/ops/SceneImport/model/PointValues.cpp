#include "PointValues.h"

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

Box BoundOf(const float* points, std::size_t count) {
    Box bound;
    for (const float* point = points; point != points + count * 3; point += 3)
        bound.add(point[0], point[1], point[2]);
    return bound;
}

Box BoundOf(const std::vector<float>& points) {
    return BoundOf(points.data(), points.size() / 3);
}

OxAttribute::GroupAttribute ArbitraryValues(const char* scope, const char* inputType,
                                            const OxAttribute::FloatAttribute& value) {
    OxAttribute::GroupBuilder entry;
    entry.set("scope", OxAttribute::StringAttribute(scope));
    entry.set("inputType", OxAttribute::StringAttribute(inputType));
    entry.set("value", value);
    return entry.build();
}

} // namespace TellarSceneImport
