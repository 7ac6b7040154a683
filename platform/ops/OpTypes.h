#ifndef TELLAROPS_OPTYPES_H
#define TELLAROPS_OPTYPES_H

#include <OxTellarSDK/OpType.h>

namespace TellarOps {

/// The op types of this module, one source file each. The objects live to the end of the
/// process.
const OxOpType::OpType* ArrayOpType();
const OxOpType::OpType* AttributeEditOpType();
const OxOpType::OpType* CameraOpType();
const OxOpType::OpType* CapturedSceneOpType();
const OxOpType::OpType* InstancesOpType();
const OxOpType::OpType* MaterialAssignOpType();
const OxOpType::OpType* MergeOpType();
const OxOpType::OpType* PruneOpType();
const OxOpType::OpType* RenderSettingsOpType();
const OxOpType::OpType* ShareOpType();
const OxOpType::OpType* StaticSceneOpType();
const OxOpType::OpType* TransformOpType();

} // namespace TellarOps

#endif
