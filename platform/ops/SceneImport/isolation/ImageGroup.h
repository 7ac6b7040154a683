#ifndef SCENEIMPORT_IMAGEGROUP_H
#define SCENEIMPORT_IMAGEGROUP_H

#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// Embedded images as a group that can be sent to another process. An image of more than 2 GiB
/// is sent without its bytes.
OxAttribute::GroupAttribute ToGroup(const std::vector<ContentImage>& images);

/// Throws std::runtime_error when ToGroup() cannot have made the group.
std::vector<ContentImage> ImagesFrom(const OxAttribute::GroupAttribute& group);

} // namespace TellarSceneImport

#endif
