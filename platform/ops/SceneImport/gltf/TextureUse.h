#ifndef SCENEIMPORT_TEXTUREUSE_H
#define SCENEIMPORT_TEXTUREUSE_H

#include <vector>

#include "TinyGltf.h"

namespace TellarSceneImport {

/// One place in a material where a texture is used.
struct TextureUse {
    int texture = -1; ///< unchecked index from the file
    int uvSet = 0;
    double amount = 1; ///< "scale" of a normal map, "strength" of occlusion
    /// For texture coordinates that grow upwards: empty, or translation, scale and turn in radians.
    std::vector<float> uvTransform;
};

TextureUse UseOf(const tinygltf::TextureInfo& info);
TextureUse UseOf(const tinygltf::NormalTextureInfo& info);
TextureUse UseOf(const tinygltf::OcclusionTextureInfo& info);
/// A texture of an extension of a material. Without such a member it is no texture (-1).
TextureUse UseOf(const tinygltf::Value& extension, const char* member);

} // namespace TellarSceneImport

#endif
