#ifndef SCENEIMPORT_SCENEIMPORT_H
#define SCENEIMPORT_SCENEIMPORT_H

#include <OxTellarSDK/OpType.h>

namespace TellarSceneImport {

/// The op type "SceneImport", which presents a scene file as locations. One object for the whole
/// process, created on first use.
const OxOpType::OpType* SceneImportOpType();

} // namespace TellarSceneImport

#endif
