#ifndef LANTERN_READING_INSTANCEMATRICES_H
#define LANTERN_READING_INSTANCEMATRICES_H

#include <array>

#include "SceneData.h"
#include "reading/Transform.h"

namespace lantern {

/// The matrices of an instance at its motion steps. All can be inverted in single precision, as
/// ray tracing needs it: flattened ones are thickened by a ten thousandth.
struct InstanceMatrices {
    explicit InstanceMatrices(const Transform& transform);

    std::array<M44f, kFinestSteps> steps;
    int count = 0;                 ///< 0 if the instance cannot be drawn
    const char* warning = nullptr; ///< null without a problem; a scale of 0 is no problem
};

} // namespace lantern

#endif
