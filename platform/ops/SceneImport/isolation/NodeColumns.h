#ifndef SCENEIMPORT_NODECOLUMNS_H
#define SCENEIMPORT_NODECOLUMNS_H

#include "Columns.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute NodeColumns(const std::vector<ContentNode>& nodes);

/// Reads the nodes of the content. Read its other lists before.
void ReadNodes(const ColumnReader& columns, SceneContent& content);

} // namespace TellarSceneImport

#endif
