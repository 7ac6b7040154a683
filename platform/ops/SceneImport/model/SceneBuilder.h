#ifndef SCENEIMPORT_SCENEBUILDER_H
#define SCENEIMPORT_SCENEBUILDER_H

#include <memory>

#include "Scene.h"
#include "SceneContent.h"

namespace TellarSceneImport {

/// Turns the content of a file into locations with unique names.
std::shared_ptr<const Scene> BuildScene(SceneContent content);

} // namespace TellarSceneImport

#endif
