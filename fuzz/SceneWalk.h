#ifndef TELLAR_FUZZ_SCENEWALK_H
#define TELLAR_FUZZ_SCENEWALK_H

#include "model/Scene.h"

/// Reads up to 200 locations of a scene and all of its materials as the op type does. Aborts if a
/// name that is listed is not found.
void WalkScene(const TellarSceneImport::Scene& scene);

#endif
