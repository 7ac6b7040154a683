#include "Variants.h"

#include <stdexcept>

#include "ExtensionValues.h"
#include "GltfError.h"

namespace TellarSceneImport {

using tinygltf::Value;

namespace {

constexpr const char* kExtension = "KHR_materials_variants";

// The items of an array of an extension; none if there is no such array.
std::vector<const Value*> ItemsOf(const Value* extension, const char* member) {
    std::vector<const Value*> items;
    const Value* list = extension ? FindMember(*extension, member) : nullptr;
    for (std::size_t i = 0; list && i < list->ArrayLen(); ++i)
        items.push_back(&list->Get(static_cast<int>(i)));
    return items;
}

bool IsFor(const Value& mapping, int variant) {
    for (const Value* one : ItemsOf(&mapping, "variants"))
        if (one->IsInt() && one->Get<int>() == variant) return true;
    return false;
}

} // namespace

int FindVariant(const tinygltf::Model& model, const std::string& name) {
    std::string list;
    int index = 0;
    for (const Value* variant : ItemsOf(FindExtension(model.extensions, kExtension), "variants")) {
        const std::string known = TextOf(*variant, "name");
        if (known == name) return index;
        list += (list.empty() ? "\"" : ", \"") + known + "\"";
        ++index;
    }
    throw std::runtime_error("there is no variant \"" + name + "\" in it; " +
                             (list.empty() ? "it has no variants" : "its variants are " + list));
}

int MaterialOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive, int variant) {
    if (variant < 0) return primitive.material;
    const Value* extension = FindExtension(primitive.extensions, kExtension);
    for (const Value* mapping : ItemsOf(extension, "mappings")) {
        if (!IsFor(*mapping, variant)) continue;
        const int material = IndexOf(*mapping, "material");
        if (material < 0 || static_cast<std::size_t>(material) >= model.materials.size())
            GltfError("a variant of a primitive refers to no material");
        return material;
    }
    return primitive.material;
}

std::vector<int> AllMaterialsOf(const tinygltf::Primitive& primitive) {
    std::vector<int> materials = {primitive.material};
    const Value* extension = FindExtension(primitive.extensions, kExtension);
    for (const Value* mapping : ItemsOf(extension, "mappings"))
        materials.push_back(IndexOf(*mapping, "material"));
    return materials;
}

} // namespace TellarSceneImport
