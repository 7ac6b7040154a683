#ifndef SCENEIMPORT_EXTENSIONVALUES_H
#define SCENEIMPORT_EXTENSIONVALUES_H

#include <string>

#include "TinyGltf.h"
#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

/// Reading of the extensions of glTF objects, whose values may be of any type. A value that is
/// missing, of another type or not finite counts as the fallback.

/// Null when there is no such extension or it is no object.
const tinygltf::Value* FindExtension(const tinygltf::ExtensionMap& extensions, const char* name);

/// Null when there is no such member. `object` may be of any type.
const tinygltf::Value* FindMember(const tinygltf::Value& object, const char* name);

double NumberOf(const tinygltf::Value& object, const char* name, double fallback);
int IndexOf(const tinygltf::Value& object, const char* name); ///< -1 when there is none
std::string TextOf(const tinygltf::Value& object, const char* name);
Color ColorOf(const tinygltf::Value& object, const char* name, const Color& fallback);

} // namespace TellarSceneImport

#endif
