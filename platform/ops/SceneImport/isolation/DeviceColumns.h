#ifndef SCENEIMPORT_DEVICECOLUMNS_H
#define SCENEIMPORT_DEVICECOLUMNS_H

#include "Columns.h"
#include "model/CameraAndLight.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute CameraColumns(const std::vector<ImportedCamera>& cameras);
OxAttribute::GroupAttribute LightColumns(const std::vector<ImportedLight>& lights);

std::vector<ImportedCamera> CamerasIn(const ColumnReader& columns);
std::vector<ImportedLight> LightsIn(const ColumnReader& columns);

} // namespace TellarSceneImport

#endif
