#ifndef LANTERN_READING_READMATERIAL_H
#define LANTERN_READING_READMATERIAL_H

#include <string>

#include "reading/CompileShading.h"
#include "reading/MaterialDraft.h"
#include "reading/ShadingNetwork.h"

namespace lantern {

/// Reads the surface of a material: a standard surface, or a node "layer" that blends two of them.
/// The parameters are those of kInputInfos and
///
///     alphaCutoff, normalScale, coatNormalScale       numbers
///     emissionStrength                                a number that multiplies the emission
///     doubleSided, unlit, vertexColor                 0 or 1
///
/// "baseColor" is also called color, Kd or diffuse. The shaders standard_surface, matte, plastic,
/// metal, glass and emitter differ in their defaults. Any other shader is read as standard_surface,
/// with a warning. Each input of kInputInfos may be connected to nodes (CompileShading.h). An input
/// without a connection uses the location's texture of the same name, if there is one. An input
/// that has no usable value keeps its own, with a warning.
MaterialDraft ReadMaterial(const ShadingNetwork& network, const std::string& name,
                           const TextureFileOf& textureFileOf, const WarnOfMaterial& warn);

/// The material of locations that have none: colored by the vertex colors, or else grey.
MaterialDraft DefaultMaterial();

} // namespace lantern

#endif
