#ifndef TELLAR_TOOL_LOCATIONTEXTURES_H
#define TELLAR_TOOL_LOCATIONTEXTURES_H

#include <set>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>

#include "SceneFiles.h"

namespace TellarTool {

/// The texture references in the materials, lights and "textures" of a location and everything
/// below it, unresolved. Cooks all of these locations. Empty for a null location.
std::set<std::string> TexturesBelow(const TELLAR::GeometryProducer::Ptr& start);

/// Resolves a texture reference. A relative path counts from `folder` if the file exists there, and
/// otherwise from the working directory.
TextureFile FindTextureFile(const std::string& reference, const std::string& folder);

} // namespace TellarTool

#endif
