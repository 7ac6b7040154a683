#include "Extensions.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kUnderstood[] = {
    "EXT_mesh_gpu_instancing",    "EXT_meshopt_compression",
    "EXT_texture_webp",           "KHR_draco_mesh_compression",
    "KHR_lights_punctual",        "KHR_materials_anisotropy",
    "KHR_materials_clearcoat",    "KHR_materials_emissive_strength",
    "KHR_materials_ior",          "KHR_materials_pbrSpecularGlossiness",
    "KHR_materials_sheen",        "KHR_materials_specular",
    "KHR_materials_transmission", "KHR_materials_unlit",
    "KHR_materials_variants",     "KHR_materials_volume",
    "KHR_mesh_quantization",      "KHR_texture_transform",
};

bool IsUnderstood(const std::string& name) {
    return std::find(std::begin(kUnderstood), std::end(kUnderstood), name) != std::end(kUnderstood);
}

std::vector<std::string> UnknownOf(const Json& document, const char* list) {
    std::vector<std::string> names;
    const Json* all = ArrayMember(&document, list);
    for (rapidjson::SizeType i = 0; i < SizeOf(all); ++i)
        if ((*all)[i].IsString() && !IsUnderstood((*all)[i].GetString()))
            names.emplace_back((*all)[i].GetString());
    return names;
}

} // namespace

std::vector<std::string> CheckExtensions(const Json& document) {
    const auto required = UnknownOf(document, "extensionsRequired");
    std::string list;
    for (const std::string& name : required)
        list += (list.empty() ? "" : ", ") + name;
    if (required.size() == 1)
        throw std::runtime_error("it requires the extension " + list + ", which is not supported");
    if (!required.empty())
        throw std::runtime_error("it requires the extensions " + list +
                                 ", which are not supported");
    return UnknownOf(document, "extensionsUsed");
}

} // namespace TellarSceneImport
