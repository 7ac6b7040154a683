#ifndef TELLAR_TOOL_LOCATIONTEXTURES_H
#define TELLAR_TOOL_LOCATIONTEXTURES_H

#include <set>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>

#include "SceneFiles.h"

namespace TellarTool {

/// The textures that a location and those below it name in their materials, lights and "textures",
/// as they write them. Cooks them all. Empty for a null location.
std::set<std::string> TexturesBelow(const TELLAR::GeometryProducer::Ptr& start);

/// The file that a texture means: a relative path counts from `folder` if there is such a file, and
/// otherwise from the working directory.
TextureFile FindTextureFile(const std::string& reference, const std::string& folder);

} // namespace TellarTool

#endif
