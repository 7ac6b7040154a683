#ifndef LANTERN_READING_INSTANCEMATRICES_H
#define LANTERN_READING_INSTANCEMATRICES_H

#include <array>

#include "SceneData.h"
#include "reading/Transform.h"

namespace lantern {

/// The matrices of an instance at its motion steps. Ray tracing has to invert them in single
/// precision, so a scale of 0 is replaced by a ten thousandth of the largest scale.
struct InstanceMatrices {
    explicit InstanceMatrices(const Transform& transform);

    std::array<M44f, kFinestSteps> steps;
    int count = 0;                 ///< 0 if the instance cannot be drawn
    const char* warning = nullptr; ///< null if there is none; a scale of 0 alone gives none
};

} // namespace lantern

#endif
