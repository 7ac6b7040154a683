#ifndef SCENEIMPORT_NODEMOTION_H
#define SCENEIMPORT_NODEMOTION_H

#include <vector>

#include "Track.h"
#include "model/Motion.h"
#include "model/Space.h"

namespace TellarSceneImport {

/// The animation of a local matrix. Sets "xform.matrix".
class NodeMotion : public Motion {
public:
    /// A part whose track has no keys stays as in `rest`. Tracks have three, four and three
    /// numbers.
    NodeMotion(const Transform& rest, Track position, Track rotation, Track scale);

    Matrix matrixAt(Moment moment) const;
    std::vector<const Track*> tracks() const;

    /// The matrix (16 doubles) at the time of every key, with enough samples in between that linear
    /// interpolation stays close (Track::stepsBetween): it would shrink objects that turn in large
    /// steps.
    void apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const override;
    std::uint64_t memory() const override;

private:
    const Transform rest;
    const Track position, rotation, scale;
};

} // namespace TellarSceneImport

#endif
