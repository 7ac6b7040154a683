#ifndef SCENEIMPORT_GLTFJSON_H
#define SCENEIMPORT_GLTFJSON_H

#include <string>

#include <rapidjson/document.h>

namespace TellarSceneImport {

/// Access to the JSON text of a glTF file before it is known to be sound.

using Json = rapidjson::Value;

/// Null when `object` is null, is not an object, or has no such member.
const Json* Member(const Json* object, const char* name);
/// The same; throws when the member is not an array.
const Json* ArrayMember(const Json* object, const char* name);
/// 0 for null.
rapidjson::SizeType SizeOf(const Json* array);
/// Empty when there is no such text.
std::string TextMember(const Json* object, const char* name);

} // namespace TellarSceneImport

#endif
