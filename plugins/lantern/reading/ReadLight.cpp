#include "reading/ReadLight.h"

#include <algorithm>
#include <cmath>

namespace lantern {

namespace {

using Warn = std::function<void(const std::string& what)>;

class LightReader {
public:
    LightReader(const Attribute& light, const Warn& warn) : light(light), warn(warn) {}

    float number(const char* name, float otherwise) const {
        double value = otherwise;
        read(name, &value, 1);
        return static_cast<float>(value);
    }

    /// A number from 0 on.
    float size(const char* name, float otherwise) const {
        const float value = number(name, otherwise);
        if (value >= 0) return value;
        warn("\"light." + std::string(name) + "\" is negative");
        return otherwise;
    }

    V3f vector(const char* name, const V3f& otherwise) const {
        double values[3] = {otherwise.x, otherwise.y, otherwise.z};
        if (!read(name, values, 3) && read(name, values, 1)) values[1] = values[2] = values[0];
        return V3f(Imath::V3d(values[0], values[1], values[2]));
    }

    /// Negative components become 0.
    Color color(const char* name, const Color& otherwise) const {
        const Color value = vector(name, otherwise);
        return {std::max(value.x, 0.0f), std::max(value.y, 0.0f), std::max(value.z, 0.0f)};
    }

private:
    /// Returns false, and writes nothing, unless there are `count` finite numbers.
    bool read(const char* name, double* values, int count) const {
        double found[3];
        if (!light.child(name).read(found, count)) return false;
        const bool isSound = std::all_of(found, found + count, [](double value) {
            return std::isfinite(static_cast<float>(value));
        });
        if (isSound)
            std::copy(found, found + count, values);
        else
            warn("\"light." + std::string(name) + "\" is not finite");
        return isSound;
    }

    const Attribute& light;
    const Warn& warn;
};

/// Attributes that only some types of light use. They are read for every type, so that a bad value
/// is reported whatever the type is.
struct LightNumbers {
    float angle = DirectionalLight().angle;
    float radius = PointLight().radius;
    V3f decay = PointLight().decay;
    SpotCone cone;
};

LightNumbers ReadNumbers(const LightReader& reader) {
    LightNumbers numbers;
    numbers.angle = std::min(reader.size("angle", numbers.angle), 180.0f);
    numbers.radius = reader.size("radius", numbers.radius);
    const V3f decay = reader.vector("decay", numbers.decay);
    if (decay.x >= 0 && decay.y >= 0 && decay.z >= 0 && decay != V3f(0)) numbers.decay = decay;
    numbers.cone.outer = std::min(reader.size("coneOuter", numbers.cone.outer), 360.0f);
    numbers.cone.inner = std::min(reader.size("coneInner", numbers.cone.inner), numbers.cone.outer);
    return numbers;
}

AreaLight MakeAreaLight(const Attribute& light, const M44d& toWorld, const Color& radiance) {
    AreaLight result{toWorld, radiance};
    double size[2];
    if (light.child("size").read(size, 2) && size[0] > 0 && size[1] > 0)
        result.size = V2f(static_cast<float>(size[0]), static_cast<float>(size[1]));
    return result;
}

EnvironmentLight MakeEnvironmentLight(const LightReader& reader, const M44d& toWorld,
                                      const Color& scale) {
    EnvironmentLight result;
    result.toWorld = toWorld;
    result.scale = scale;
    result.isSeenByCamera = reader.number("seen", 1) != 0;
    result.horizon = reader.color("horizon", result.horizon);
    result.zenith = reader.color("zenith", result.zenith);
    result.ground = reader.color("ground", result.ground);
    return result;
}

EnvironmentLight MakeAmbientLight(const M44d& toWorld, const Color& scale) {
    EnvironmentLight result;
    result.toWorld = toWorld;
    result.scale = scale;
    result.isSeenByCamera = false;
    return result;
}

bool IsKnownType(const std::string& type) {
    for (const char* known : {"directional", "point", "spot", "area", "ambient", "environment"})
        if (type == known) return true;
    return false;
}

} // namespace

std::optional<LightDraft> ReadLight(const Attribute& light, const M44d& toWorld,
                                    const std::function<void(const std::string& what)>& warn) {
    const std::string type = light.child("type").text();
    if (!IsKnownType(type)) {
        warn("\"light.type\" has the unknown value \"" + type + "\"; it does not shine");
        return {};
    }
    const LightReader reader(light, warn);
    const float scale = reader.size("intensity", 1) * std::exp2(reader.number("exposure", 0));
    const Color color = reader.color("color", Color(1)) * scale;
    if (!std::isfinite(color.length2())) {
        warn("\"light.intensity\", \"exposure\" and \"color\" make it too bright; it does not "
             "shine");
        return {};
    }
    const LightNumbers numbers = ReadNumbers(reader);
    if (type == "directional") return {{DirectionalLight{toWorld, color, numbers.angle}, {}}};
    if (type == "area") return {{MakeAreaLight(light, toWorld, color), {}}};
    if (type == "ambient") return {{MakeAmbientLight(toWorld, color), {}}};
    if (type == "environment")
        return {{MakeEnvironmentLight(reader, toWorld, color), light.child("texture").text()}};
    PointLight result{toWorld, color, numbers.decay, numbers.radius, {}};
    if (type == "spot") result.cone = numbers.cone;
    return {{result, {}}};
}

} // namespace lantern
