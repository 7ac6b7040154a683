#ifndef SCENEIMPORT_NODEMOTION_H
#define SCENEIMPORT_NODEMOTION_H

#include <utility>
#include <vector>

#include <assimp/anim.h>
#include <assimp/scene.h>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

/// The animation of a local matrix: keys for position, rotation and scale. Immutable.
class NodeMotion {
public:
    /// A component without keys stays as in the transformation of the node.
    NodeMotion(const aiNodeAnim& channel, double ticksPerSecond, const aiNode& node);

    /// The matrix (16 doubles) at the time of every key, with enough samples between two keys that
    /// no step turns by more than a few degrees: readers interpolate matrices linearly, which would
    /// shrink objects that turn in larger steps. The time of a sample is
    /// seconds * framesPerSecond - frame. Invalid when the channel has no usable key.
    OxAttribute::DoubleAttribute matrices(double framesPerSecond, double frame) const;

private:
    template <typename Value>
    struct Track {
        std::vector<std::pair<double, Value>> keys; // by ascending seconds
        Value rest;                                 // where there is no key
    };

    aiMatrix4x4 matrixAt(double seconds) const;
    std::vector<double> sampleTimes() const;

    Track<aiVector3D> position;
    Track<aiQuaternion> rotation;
    Track<aiVector3D> scale;
};

} // namespace TellarSceneImport

#endif
