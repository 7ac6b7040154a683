#ifndef SCENEIMPORT_GEOMETRY_H
#define SCENEIMPORT_GEOMETRY_H

#include "model/SceneContent.h"

namespace tinygltf {
struct Primitive;
}

namespace TellarSceneImport {

class Document;

/// The geometry of a primitive, without name, material and motion. Point i of the result is element
/// i of the accessors of the primitive. The type is empty for one without points. Throws
/// std::runtime_error when accessors and indices do not fit each other.
ContentShape ReadPrimitive(const Document& document, const tinygltf::Primitive& primitive);

} // namespace TellarSceneImport

#endif
