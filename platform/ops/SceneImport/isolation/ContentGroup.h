#ifndef SCENEIMPORT_CONTENTGROUP_H
#define SCENEIMPORT_CONTENTGROUP_H

#include <OxTellarSDK/Attribute.h>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The content as one attribute, which can be written as a stream. Shapes that several nodes show
/// are in it once.
OxAttribute::GroupAttribute ToGroup(const SceneContent& content);

/// The content that ToGroup made the attribute of. Geometry and networks stay where they lie in the
/// attribute. Throws std::runtime_error when it is not such an attribute: all indices are checked.
SceneContent FromGroup(const OxAttribute::GroupAttribute& group);

} // namespace TellarSceneImport

#endif
