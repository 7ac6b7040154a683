#ifndef SCENEIMPORT_MESHMOTION_H
#define SCENEIMPORT_MESHMOTION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "Morph.h"
#include "Skin.h"
#include "Track.h"
#include "model/Motion.h"
#include "model/Space.h"

namespace TellarSceneImport {

/// The limit for the samples of all moving points of a file.
constexpr std::uint64_t kMaxMotionBytes = std::uint64_t(512) << 20;

/// A mesh whose points are moved by morph targets and a skin. Sets "geometry.point.P" and
/// "geometry.point.N". Immutable apart from limitSamples.
class MeshMotion : public Motion {
public:
    struct Joints {
        std::shared_ptr<const Skeleton> skeleton;
        Skin skin;
        Influences influences; ///< one entry per point of the mesh
    };

    struct Parts {
        MeshPoints points;
        std::vector<MorphTarget> targets;
        std::vector<double> restWeights; ///< one a target; used if `weights` has no keys
        Track weights;                   ///< one number a target
        std::shared_ptr<const Joints>
            joints; ///< null, or points with a skin end up in the space of the file
    };

    /// Throws std::runtime_error if sizes do not fit.
    explicit MeshMotion(Parts parts);

    bool hasSkin() const { return parts.joints != nullptr; }
    /// One for a mesh that keeps its shape.
    std::size_t sampleCount() const { return moments.size(); }
    /// The size of the samples of positions and normals.
    std::uint64_t bytes() const;
    /// Keeps at most `count` samples, but at least two. For use before the mesh is shared.
    void limitSamples(std::size_t count);

    /// The smallest box around the points at all samples, and so at all times in between.
    Box bound() const;

    /// Samples at all keys, with enough in between that linear interpolation puts points at most a
    /// thousandth of the mesh's diagonal away from where they belong, as measured at some 200
    /// points. A mesh that keeps its shape has one sample.
    void apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const override;
    /// Without the nodes of the skeleton, which belong to the scene.
    std::uint64_t memory() const override;

private:
    // Every `stride`th point of the mesh.
    struct Probe {
        MeshPoints points;
        std::vector<MorphTarget> targets;
        std::size_t stride = 1;
    };

    void check() const;
    void checkJoints() const;
    std::vector<double> weightsAt(Moment moment) const;
    MeshPoints pointsAt(Moment moment) const;
    MeshPoints pointsAt(Moment moment, const MeshPoints& rest,
                        const std::vector<MorphTarget>& targets, std::size_t stride) const;
    std::vector<float> positionsAt(Moment moment, const Probe& probe) const;
    Probe makeProbe() const;
    std::vector<const Track*> tracks() const;
    std::vector<Moment> chooseMoments() const;
    bool isStraight(const Probe& probe, double from, double to, double tolerance) const;
    std::size_t stepsBetween(const Probe& probe, double from, double to, double tolerance) const;

    const Parts parts;
    std::vector<std::size_t> chain; // the joints and their ancestors
    std::vector<Moment> moments;
};

/// Limits the samples of the meshes to `maxBytes` together, at the same rate for all. Returns the
/// part of the samples that is kept, 1 if nothing had to go.
double LimitMotion(const std::vector<std::shared_ptr<MeshMotion>>& meshes, std::uint64_t maxBytes);

} // namespace TellarSceneImport

#endif
