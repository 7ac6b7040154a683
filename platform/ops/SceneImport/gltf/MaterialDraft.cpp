#include "MaterialDraft.h"

#include <utility>

#include "ExtensionValues.h"

namespace TellarSceneImport {

using tinygltf::Value;

namespace {

const char* WrapName(int wrap) {
    if (wrap == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE) return "clamp";
    return wrap == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT ? "mirror" : "repeat";
}

template <typename Item>
const Item* ItemAt(const std::vector<Item>& items, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < items.size() ? &items[index] : nullptr;
}

} // namespace

// Every reader knows the formats of plain sources, so these are preferred to WebP. Returns -1 after
// a warning.
int MaterialDraft::imageOf(const TextureUse& use) const {
    const auto warnAbout = [&](const std::string& reason) {
        warn("texture " + std::to_string(use.texture) + " of the material \"" + material.name +
             "\" is left out: " + reason);
        return -1;
    };
    const tinygltf::Texture* texture = ItemAt(model.textures, use.texture);
    if (!texture) return warnAbout("there is no such texture");
    int image = texture->source;
    if (const Value* webp = FindExtension(texture->extensions, "EXT_texture_webp"))
        if (image < 0) image = IndexOf(*webp, "source");
    if (ItemAt(model.images, image)) return image;
    if (texture->extensions.count("KHR_texture_basisu"))
        return warnAbout("its format, KHR_texture_basisu, is not supported");
    return warnAbout("it has no image");
}

bool MaterialDraft::addImage(const std::string& node, const TextureUse& use, bool isColor,
                             std::vector<float> multiply) {
    if (use.texture < 0) return false;
    const int image = imageOf(use);
    if (image < 0) return false;
    ImageNode values;
    values.file = pathOf(image, material.name);
    if (values.file.empty()) return false;
    values.uvSet = use.uvSet;
    values.uvTransform = use.uvTransform;
    values.isColor = isColor;
    values.multiply = std::move(multiply);
    if (const auto* sampler = ItemAt(model.samplers, model.textures[use.texture].sampler)) {
        values.wrapU = WrapName(sampler->wrapS);
        values.wrapV = WrapName(sampler->wrapT);
    }
    network.addImage(node, values);
    return true;
}

bool MaterialDraft::addTexture(const std::string& input, const char* port, const TextureUse& use,
                               bool isColor, std::vector<float> multiply) {
    const std::string node = input + "Image";
    if (!addImage(node, use, isColor, std::move(multiply))) return false;
    network.connect(input, port, node);
    return true;
}

void MaterialDraft::addNumber(const char* parameter, const Value& extension, const char* member,
                              double fallback, const char* textureMember, const char* port) {
    const auto number = static_cast<float>(NumberOf(extension, member, fallback));
    network.set(parameter, number);
    addTexture(parameter, port, UseOf(extension, textureMember), false, {number});
}

bool MaterialDraft::addColor(const char* parameter, const Value& extension, const char* member,
                             const Color& fallback, const char* textureMember) {
    const Color color = ColorOf(extension, member, fallback);
    network.set(parameter, color);
    return addTexture(parameter, "out", UseOf(extension, textureMember), true,
                      {color.begin(), color.end()});
}

} // namespace TellarSceneImport
