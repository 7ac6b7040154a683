#ifndef SCENEIMPORT_UPAXIS_H
#define SCENEIMPORT_UPAXIS_H

#include "SceneContent.h"

namespace TellarSceneImport {

/// Turns the root so that the axis `up` ('x', 'y' or 'z') of the scene points along +Y.
void TurnUpright(SceneContent& content, char up);

} // namespace TellarSceneImport

#endif
