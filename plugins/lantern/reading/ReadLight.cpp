#include "reading/ReadLight.h"

#include <algorithm>
#include <cmath>

namespace lantern {

namespace {

using Warn = std::function<void(const std::string& what)>;

std::optional<Light::Kind> ReadKind(const std::string& type) {
    if (type == "directional") return Light::Kind::Directional;
    if (type == "point") return Light::Kind::Point;
    if (type == "spot") return Light::Kind::Spot;
    if (type == "area") return Light::Kind::Area;
    if (type == "ambient" || type == "environment") return Light::Kind::Environment;
    return {};
}

class LightReader {
public:
    LightReader(const Attribute& light, const Warn& warn) : light(light), warn(warn) {}

    float number(const char* name, float otherwise) const {
        double value = otherwise;
        read(name, &value, 1);
        return static_cast<float>(value);
    }

    /// Not below 0.
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

    /// Nothing below 0.
    Color color(const char* name, const Color& otherwise) const {
        const Color value = vector(name, otherwise);
        return {std::max(value.x, 0.0f), std::max(value.y, 0.0f), std::max(value.z, 0.0f)};
    }

private:
    /// False, and nothing written, when there are no such finite numbers.
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

void ReadShape(const LightReader& reader, Light& light) {
    light.angle = std::min(reader.size("angle", light.angle), 180.0f);
    light.radius = reader.size("radius", light.radius);
    const V3f decay = reader.vector("decay", light.decay);
    if (decay.x >= 0 && decay.y >= 0 && decay.z >= 0 && decay != V3f(0)) light.decay = decay;
    light.coneOuter = std::min(reader.size("coneOuter", light.coneOuter), 360.0f);
    light.coneInner = std::min(reader.size("coneInner", light.coneInner), light.coneOuter);
}

void ReadEnvironment(const LightReader& reader, const Attribute& light, bool isAmbient,
                     LightDraft& draft) {
    draft.values.isSeen = !isAmbient && reader.number("seen", 1) != 0;
    if (isAmbient) return;
    draft.textureFile = light.child("texture").text();
    draft.values.horizon = reader.color("horizon", draft.values.horizon);
    draft.values.zenith = reader.color("zenith", draft.values.zenith);
    draft.values.ground = reader.color("ground", draft.values.ground);
}

} // namespace

std::optional<LightDraft> ReadLight(const Attribute& light, const M44d& toWorld,
                                    const std::function<void(const std::string& what)>& warn) {
    const std::string type = light.child("type").text();
    const std::optional<Light::Kind> kind = ReadKind(type);
    if (!kind) {
        warn("the light's type \"" + type + "\" is not known; it does not shine");
        return {};
    }
    const LightReader reader(light, warn);
    LightDraft draft;
    draft.values.kind = *kind;
    draft.values.toWorld = toWorld;
    const float scale = reader.size("intensity", 1) * std::exp2(reader.number("exposure", 0));
    draft.values.color = reader.color("color", Color(1)) * scale;
    if (!std::isfinite(draft.values.color.length2())) {
        warn("the light is too bright; it does not shine");
        return {};
    }
    ReadShape(reader, draft.values);
    double size[2];
    if (light.child("size").read(size, 2) && size[0] > 0 && size[1] > 0)
        draft.values.size = V2f(static_cast<float>(size[0]), static_cast<float>(size[1]));
    if (*kind == Light::Kind::Environment) ReadEnvironment(reader, light, type == "ambient", draft);
    return draft;
}

} // namespace lantern
