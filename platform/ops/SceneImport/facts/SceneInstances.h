#ifndef SCENEIMPORT_SCENEINSTANCES_H
#define SCENEIMPORT_SCENEINSTANCES_H

#include <cstdint>
#include <memory>

#include <OxTellarSDK/SubtreeFacts.h>

#include "SceneFacts.h"

namespace TellarSceneImport {

/// The nodes below a node as instances of each other. Null if none of them repeats another one, or
/// if one of the groups above them moves or is more than a group. `facts` has to keep its scene.
std::shared_ptr<const OxOpType::Instances> FindInstances(std::shared_ptr<const SceneFacts> facts,
                                                         std::uint32_t node);

} // namespace TellarSceneImport

#endif
