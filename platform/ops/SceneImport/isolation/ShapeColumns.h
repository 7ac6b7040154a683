#ifndef SCENEIMPORT_SHAPECOLUMNS_H
#define SCENEIMPORT_SHAPECOLUMNS_H

#include "Columns.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute ShapeColumns(const std::vector<ContentShape>& shapes);

/// Reads the shapes of the content. Read its materials before.
void ReadShapes(const ColumnReader& columns, SceneContent& content);

} // namespace TellarSceneImport

#endif
