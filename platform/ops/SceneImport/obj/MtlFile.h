#ifndef SCENEIMPORT_MTLFILE_H
#define SCENEIMPORT_MTLFILE_H

#include <string>
#include <string_view>
#include <vector>

#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The materials of an MTL file, which OBJ files refer to, in their order. Statements that are not
/// understood are left out. Texture paths are as ResolveTextures() takes them; those of files in
/// `folder`, that of the MTL file, are made absolute.
///
/// Where programs disagree about the meaning of a statement, it is read so that the material is
/// visible:
/// - `d` wins over `Tr`, which is one minus it. `Tr 1` alone, and `d 0` beside `Tr 0`, are opaque.
/// - A factor of 0 beside a texture counts as 1.
/// - An opacity texture that is also the color texture is read for its alpha.
/// - A bump map with "normal" or "nrm" in its name is a normal map.
std::vector<ContentMaterial> ReadMtl(std::string_view content, const std::string& folder);

/// Gives the materials of an imported OBJ file the networks of the first ones of equal names.
/// Returns the names for which there are none, except made-up ones. Those materials look like none.
std::vector<std::string> UseMtl(SceneContent& content,
                                const std::vector<ContentMaterial>& materials);

} // namespace TellarSceneImport

#endif
