#ifndef SCENEIMPORT_CONTAINER_H
#define SCENEIMPORT_CONTAINER_H

#include <string_view>

namespace TellarSceneImport {

/// The parts of a glTF file, text or binary. They point into the content of the file.
struct GltfParts {
    std::string_view json;
    /// The buffer inside a binary file, with up to three bytes of padding; empty if there is none.
    std::string_view binary;
};

/// Throws std::runtime_error for a binary file of another version than 2 and for a damaged one, and
/// when the JSON text is nested deeper than any reader of it should have to follow.
GltfParts SplitGltf(std::string_view content);

} // namespace TellarSceneImport

#endif
