#ifndef SCENEIMPORT_NODECOLUMNS_H
#define SCENEIMPORT_NODECOLUMNS_H

#include "Columns.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute NodeColumns(const std::vector<ContentNode>& nodes);

/// Adds the nodes. The other lists of the content have been read.
void ReadNodes(const ColumnReader& columns, SceneContent& content);

} // namespace TellarSceneImport

#endif
