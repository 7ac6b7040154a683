#include "AssimpParts.h"

#include "model/NodeMotion.h"

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

template <typename Value, typename Key>
void CopyKeys(Track<Value>& track, const Key* keys, unsigned count, double ticksPerSecond) {
    for (unsigned i = 0; i < count; ++i)
        track.keys.emplace_back(keys[i].mTime / ticksPerSecond, ToVector(keys[i].mValue));
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
    const bool isAimless = isAmbient || source.mType == aiLightSource_POINT;
    light.aim = isAimless ? AimMatrix(ToVector(source.mPosition), {}, {})
                          : AimMatrix(ToVector(source.mPosition), ToVector(source.mDirection),
                                      ToVector(source.mUp));
    return light;
}

std::shared_ptr<const Motion> MotionOf(const aiNodeAnim& channel, double ticksPerSecond,
                                       const aiNode& node) {
    if (!(ticksPerSecond > 0.0)) ticksPerSecond = kDefaultTicksPerSecond;
    aiVector3D scale, position;
    aiQuaternion rotation;
    node.mTransformation.Decompose(scale, rotation, position);
    Track<Vector3> positions{{}, ToVector(position)}, scales{{}, ToVector(scale)};
    Track<Quaternion> rotations{{}, ToVector(rotation)};
    CopyKeys(positions, channel.mPositionKeys, channel.mNumPositionKeys, ticksPerSecond);
    CopyKeys(rotations, channel.mRotationKeys, channel.mNumRotationKeys, ticksPerSecond);
    CopyKeys(scales, channel.mScalingKeys, channel.mNumScalingKeys, ticksPerSecond);
    return std::make_shared<NodeMotion>(std::move(positions), std::move(rotations),
                                        std::move(scales));
}

} // namespace TellarSceneImport
