#ifndef SCENEIMPORT_DESCRIBEIMPORT_H
#define SCENEIMPORT_DESCRIBEIMPORT_H

#include <memory>

#include <OxTellarSDK/SubtreeFacts.h>

#include "ImportState.h"

namespace TellarSceneImport {

/// The facts of any location of an import. Reads the file if that has not been done.
OxOpType::SubtreeFacts DescribeImport(OxOpType::SubtreeContext& context, const ImportState& state);

/// The nodes that repeat each other below a node of the scene.
std::shared_ptr<const OxOpType::Instances>
DescribeImportedInstances(OxOpType::InstanceContext& context, const ImportState& state);

} // namespace TellarSceneImport

#endif
