#ifndef SCENEIMPORT_MOTION_NODEMOTION_H
#define SCENEIMPORT_MOTION_NODEMOTION_H

#include <array>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "../Space.h"
#include "Track.h"

namespace TellarSceneImport {

/// A local matrix in parts, applied in the order scale, rotation, translation.
struct TransformParts {
    std::array<double, 3> translation = {0, 0, 0};
    std::array<double, 4> rotation = {0, 0, 0, 1}; ///< unit quaternion x, y, z, w
    std::array<double, 3> scale = {1, 1, 1};

    Matrix matrix() const;
};

/// The parts of a matrix; what it shears is lost. A mirroring one gets negative scales.
TransformParts PartsOf(const Matrix& matrix);

/// The animation of a local matrix. Immutable.
class NodeMotion {
public:
    /// A part whose track has no keys stays as in `rest`. Tracks have three, four and three
    /// numbers.
    NodeMotion(const TransformParts& rest, Track translation, Track rotation, Track scale);

    Matrix matrixAt(Moment moment) const;
    std::vector<const Track*> tracks() const;

    /// The matrix (16 doubles) at the time of every key, with enough samples in between that linear
    /// interpolation stays close (Track::stepsBetween): it would shrink objects that turn in large
    /// steps. The time of a sample is seconds * framesPerSecond - frame. Invalid without keys.
    OxAttribute::DoubleAttribute matrices(double framesPerSecond, double frame) const;

private:
    const TransformParts rest;
    const Track translation, rotation, scale;
};

} // namespace TellarSceneImport

#endif
