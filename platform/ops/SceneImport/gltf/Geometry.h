#ifndef SCENEIMPORT_GEOMETRY_H
#define SCENEIMPORT_GEOMETRY_H

#include "model/SceneContent.h"

namespace tinygltf {
struct Primitive;
}

namespace TellarSceneImport {

class Document;

/// The geometry of a primitive, without name, material and motion: a "polymesh", "curves" or a
/// "pointcloud". Its sourcePoints are elements of the accessors of the primitive; of a primitive
/// with joints or morph targets, triangles use the elements as they are. The type is empty for a
/// primitive without points. Throws std::runtime_error when accessors and indices do not fit each
/// other.
ContentShape ReadPrimitive(const Document& document, const tinygltf::Primitive& primitive);

} // namespace TellarSceneImport

#endif
