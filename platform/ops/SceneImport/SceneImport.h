#ifndef SCENEIMPORT_SCENEIMPORT_H
#define SCENEIMPORT_SCENEIMPORT_H

#include <OxTellarSDK/OpType.h>

namespace TellarSceneImport {

/// The op type "SceneImport": presents a scene file as locations. One object, made on first
/// use, for the whole process.
const OxOpType::OpType* SceneImportOpType();

} // namespace TellarSceneImport

#endif
