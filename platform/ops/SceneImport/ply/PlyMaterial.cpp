#include "PlyMaterial.h"

#include "materials/SurfaceNetwork.h"

namespace TellarSceneImport {

OxAttribute::GroupAttribute MakePlyMaterial(const std::string& texture, bool hasColors) {
    SurfaceNetwork surface;
    surface.set("baseColor", Color{1, 1, 1});
    surface.set("emission", Color{0, 0, 0});
    surface.set("specular", 0.0f);
    surface.set("specularColor", Color{1, 1, 1});
    surface.set("metalness", 0.0f);
    surface.set("roughness", 1.0f);
    surface.set("opacity", 1.0f);
    if (hasColors) surface.set("vertexColor", 1);
    if (!texture.empty()) {
        ImageNode image;
        image.file = texture;
        image.isColor = true;
        surface.addImage("baseColorImage", image);
        surface.connect("baseColor", "out", "baseColorImage");
    }
    return surface.build();
}

} // namespace TellarSceneImport
