#ifndef SCENEIMPORT_GLTFJSON_H
#define SCENEIMPORT_GLTFJSON_H

#include <string>

#include <rapidjson/document.h>

namespace TellarSceneImport {

using Json = rapidjson::Value;

/// Throws std::runtime_error "damaged glTF: <what>".
[[noreturn]] void GltfError(const std::string& what);

/// Null when `object` is null or no object, or has no such member.
const Json* Member(const Json* object, const char* name);
/// The same; throws when the member is no array.
const Json* ArrayMember(const Json* object, const char* name);
/// 0 for null.
rapidjson::SizeType SizeOf(const Json* array);

/// Throws std::runtime_error when nodes do not form trees at most `maxDepth` deep, and for what
/// Assimp does not survive: lists of other things than objects, accessors that promise more
/// than the file justifies or are half there, times that are no floats, and short vectors.
void CheckGltf(const Json& document, int maxDepth);

} // namespace TellarSceneImport

#endif
