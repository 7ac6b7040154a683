#ifndef SCENEIMPORT_SHAPECOLUMNS_H
#define SCENEIMPORT_SHAPECOLUMNS_H

#include "Columns.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute ShapeColumns(const std::vector<ContentShape>& shapes);

/// Adds the shapes. The materials of the content have been read.
void ReadShapes(const ColumnReader& columns, SceneContent& content);

} // namespace TellarSceneImport

#endif
