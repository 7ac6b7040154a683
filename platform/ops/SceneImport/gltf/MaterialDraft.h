#ifndef SCENEIMPORT_MATERIALDRAFT_H
#define SCENEIMPORT_MATERIALDRAFT_H

#include <functional>
#include <string>
#include <vector>

#include "TextureUse.h"
#include "TinyGltf.h"
#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

/// Returns the path of an image of the file, for use in the material of this name; empty if the
/// image cannot be had, after a warning.
using ImagePath = std::function<std::string(int image, const std::string& material)>;

/// Tells of something in a material that is left out.
using MaterialWarning = std::function<void(const std::string& about)>;

/// A network under construction, whose textures come from a glTF file.
class MaterialDraft {
public:
    MaterialDraft(const tinygltf::Model& model, const tinygltf::Material& material,
                  const ImagePath& pathOf, const MaterialWarning& warn)
        : material(material), model(model), pathOf(pathOf), warn(warn) {}

    /// Adds an image node. Returns false if the texture cannot be had.
    bool addImage(const std::string& node, const TextureUse& use, bool isColor,
                  std::vector<float> multiply);

    /// Connects an input to a port of an image node of its own, the input's name with "Image"
    /// appended, if the texture can be had.
    bool addTexture(const std::string& input, const char* port, const TextureUse& use, bool isColor,
                    std::vector<float> multiply);

    /// Sets a parameter to a member of an extension, and connects it to a texture that is
    /// multiplied by that number.
    void addNumber(const char* parameter, const tinygltf::Value& extension, const char* member,
                   double fallback, const char* textureMember, const char* port);
    /// The same for a color. Returns whether it has a texture.
    bool addColor(const char* parameter, const tinygltf::Value& extension, const char* member,
                  const Color& fallback, const char* textureMember);

    const tinygltf::Material& material;
    SurfaceNetwork network;

private:
    int imageOf(const TextureUse& use) const;

    const tinygltf::Model& model;
    const ImagePath& pathOf;
    const MaterialWarning& warn;
};

} // namespace TellarSceneImport

#endif
