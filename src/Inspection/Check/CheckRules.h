#ifndef TELLAR_CHECK_CHECKRULES_H
#define TELLAR_CHECK_CHECKRULES_H

#include <cstddef>

#include <OxTellarProducers/SceneCheck.h>

namespace TELLAR {

/// The rules, as indices of GetCheckRules().
enum class Rule : std::size_t {
    OpGlob,
    OpAssignment,
    OpMerge,
    OpWarning,
    CookError,
    SettingUnknown,
    SettingType,
    SettingValue,
    NameLevel,
    NameUtf8,
    NameClash,
    TransformValue,
    TransformSingular,
    TransformSamples,
    BoundValue,
    BoundSmall,
    PointsMissing,
    PointsValue,
    MeshFaces,
    MeshIndex,
    MeshUnused,
    ShapeFinite,
    ShapeWidth,
    NormalsCount,
    ArbitraryCount,
    SubdivisionTags,
    CurvesCount,
    FacesetIndex,
    FacesetUnused,
    MaterialMissing,
    MaterialNone,
    MaterialNode,
    MaterialLoop,
    MaterialUnused,
    TextureMissing,
    TextureUnused,
    LightType,
    LightValue,
    LightDark,
    LightHidden,
    CameraLens,
    CameraMissing,
    CameraUnused,
    Count
};

constexpr std::size_t kRuleCount = static_cast<std::size_t>(Rule::Count);

inline const CheckRule& GetRule(Rule rule) {
    return GetCheckRules()[static_cast<std::size_t>(rule)];
}

} // namespace TELLAR

#endif
