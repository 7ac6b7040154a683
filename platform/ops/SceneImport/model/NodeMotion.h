#ifndef SCENEIMPORT_NODEMOTION_H
#define SCENEIMPORT_NODEMOTION_H

#include <utility>
#include <vector>

#include "Motion.h"
#include "Space.h"

namespace TellarSceneImport {

/// The values of one part of a transform, joined linearly between keys.
template <typename Value>
struct Track {
    std::vector<std::pair<double, Value>> keys; ///< by ascending seconds
    Value rest{};                               ///< where there is no key
};

/// The animation of a local matrix: keys for position, rotation and scale. Sets "xform.matrix".
class NodeMotion : public Motion {
public:
    /// Keys may be in any order; those without a finite time are left out.
    NodeMotion(Track<Vector3> position, Track<Quaternion> rotation, Track<Vector3> scale);

    /// The matrix (16 doubles) at the time of every key, with enough samples between two keys that
    /// no step turns by more than a few degrees: readers interpolate matrices linearly, which would
    /// shrink objects that turn in larger steps.
    void apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const override;

private:
    Matrix matrixAt(double seconds) const;
    std::vector<double> sampleTimes() const;

    Track<Vector3> position;
    Track<Quaternion> rotation;
    Track<Vector3> scale;
};

} // namespace TellarSceneImport

#endif
