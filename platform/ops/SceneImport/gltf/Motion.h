#ifndef SCENEIMPORT_GLTFMOTION_H
#define SCENEIMPORT_GLTFMOTION_H

#include <map>
#include <memory>
#include <string>

#include "motion/NodeMotion.h"
#include "motion/Track.h"

namespace TellarSceneImport {

class Document;

/// One animation of a glTF file: what it moves, by index of the node.
struct GltfAnimation {
    std::map<int, std::shared_ptr<const NodeMotion>> nodes;
    std::map<int, Track> weights; ///< weights of morph targets, keyed by node
};

/// Reads the animation that ChooseAnimation finds; an empty one if that is none. Throws
/// std::runtime_error when there is no such animation or its values do not fit its times.
GltfAnimation ReadAnimation(const Document& document, const std::string& wanted);

} // namespace TellarSceneImport

#endif
