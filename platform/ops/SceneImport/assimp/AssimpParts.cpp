#include "AssimpParts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <vector>

#include "images/ImageKind.h"
#include "motion/NodeMotion.h"

namespace TellarSceneImport {

namespace {

constexpr double kDegrees = 180.0 / 3.14159265358979323846;

// For files that do not say how long a tick is.
constexpr double kDefaultTicksPerSecond = 25.0;

Vector3 ToVector(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

Quaternion ToVector(const aiQuaternion& q) {
    return {q.x, q.y, q.z, q.w};
}

const char* LightTypeName(aiLightSourceType type) {
    switch (type) {
    case aiLightSource_DIRECTIONAL:
        return "directional";
    case aiLightSource_SPOT:
        return "spot";
    case aiLightSource_AMBIENT:
        return "ambient";
    case aiLightSource_AREA:
        return "area";
    default:
        return "point";
    }
}

// Rounded to the precision of Assimp, so that 40 degrees stay 40 degrees.
float Degrees(float radians) {
    return static_cast<float>(radians * kDegrees);
}

template <typename Numbers>
bool AreFinite(const Numbers& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double v) { return std::isfinite(v); });
}

// Keys that are not finite are left out.
template <typename Key>
Track MakeTrack(TrackKind kind, std::size_t width, const Key* keys, unsigned count,
                double ticksPerSecond) {
    std::vector<double> seconds;
    std::vector<float> values;
    for (unsigned i = 0; i < count; ++i) {
        const double time = keys[i].mTime / ticksPerSecond;
        const auto value = ToVector(keys[i].mValue);
        if (!std::isfinite(time) || !AreFinite(value)) continue;
        seconds.push_back(time);
        for (const double number : value)
            values.push_back(static_cast<float>(number));
    }
    return Track(kind, Interpolation::Linear, width, seconds, values);
}

// The position and direction of a light.
Matrix AimOf(const aiLight& light) {
    const bool isAimless =
        light.mType == aiLightSource_AMBIENT || light.mType == aiLightSource_POINT;
    if (isAimless) return AimMatrix(ToVector(light.mPosition), {}, {});
    return AimMatrix(ToVector(light.mPosition), ToVector(light.mDirection), ToVector(light.mUp));
}

} // namespace

Matrix ToMatrix(const aiMatrix4x4& m) {
    return {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2,
            m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4};
}

ImportedCamera CameraOf(const aiCamera& source) {
    ImportedCamera camera;
    camera.nearClip = source.mClipPlaneNear;
    camera.farClip = source.mClipPlaneFar;
    camera.aspect = source.mAspect;
    camera.orthographicWidth = 2.0 * source.mOrthographicWidth;
    if (!(camera.orthographicWidth > 0.0)) camera.fieldOfView = Degrees(source.mHorizontalFOV);
    camera.aim =
        AimMatrix(ToVector(source.mPosition), ToVector(source.mLookAt), ToVector(source.mUp));
    return camera;
}

ImportedLight LightOf(const aiLight& source) {
    ImportedLight light;
    light.type = LightTypeName(source.mType);
    const bool isAmbient = source.mType == aiLightSource_AMBIENT;
    const aiColor3D& color = isAmbient ? source.mColorAmbient : source.mColorDiffuse;
    light.setColor(color.r, color.g, color.b);
    light.decay = {source.mAttenuationConstant, source.mAttenuationLinear,
                   source.mAttenuationQuadratic};
    light.coneInner = Degrees(source.mAngleInnerCone);
    light.coneOuter = Degrees(source.mAngleOuterCone);
    light.size = {source.mSize.x, source.mSize.y};
    light.aim = AimOf(source);
    return light;
}

// Texels are blue, green, red, alpha. A height of 0 marks the bytes of a file, whose number is the
// width.
ContentImage ImageOf(const aiTexture& texture) {
    const auto* data = reinterpret_cast<const char*>(texture.pcData);
    if (!data) return {};
    if (texture.mHeight > 0) {
        const std::size_t bytes = std::size_t(texture.mWidth) * texture.mHeight * sizeof(aiTexel);
        return {TgaFile(texture.mWidth, texture.mHeight, {data, bytes}), "tga"};
    }
    const std::size_t length = strnlen(texture.achFormatHint, sizeof texture.achFormatHint);
    std::string hint(texture.achFormatHint, length);
    if (hint.empty()) hint = texture.mFilename.C_Str();
    return {std::string(data, texture.mWidth), std::move(hint)};
}

double TicksPerSecond(const aiAnimation& animation) {
    return animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : kDefaultTicksPerSecond;
}

std::shared_ptr<const Motion> MotionOf(const aiNodeAnim& channel, double ticksPerSecond,
                                       const aiNode& node) {
    return std::make_shared<NodeMotion>(DecomposeMatrix(ToMatrix(node.mTransformation)),
                                        MakeTrack(TrackKind::Vector, 3, channel.mPositionKeys,
                                                  channel.mNumPositionKeys, ticksPerSecond),
                                        MakeTrack(TrackKind::Rotation, 4, channel.mRotationKeys,
                                                  channel.mNumRotationKeys, ticksPerSecond),
                                        MakeTrack(TrackKind::Vector, 3, channel.mScalingKeys,
                                                  channel.mNumScalingKeys, ticksPerSecond));
}

} // namespace TellarSceneImport
