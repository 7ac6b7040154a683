#include "PlyMaterial.h"

#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute MakePlyMaterial(const std::string& texture, bool hasColors) {
    constexpr Color kWhite = {1, 1, 1};
    SurfaceNetwork network;
    network.set("baseColor", kWhite);
    network.set("emission", Color{0, 0, 0});
    network.set("specular", 0.0f);
    network.set("specularColor", kWhite);
    network.set("metalness", 0.0f);
    network.set("roughness", 1.0f);
    network.set("opacity", 1.0f);
    if (hasColors) network.set("vertexColor", 1);
    if (!texture.empty()) {
        ImageNode image;
        image.file = texture;
        image.isColor = true;
        network.addImage("baseColorImage", image);
        network.connect("baseColor", "out", "baseColorImage");
    }
    return network.build();
}

} // namespace TellarSceneImport
