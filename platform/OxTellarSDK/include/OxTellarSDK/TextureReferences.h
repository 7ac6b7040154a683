#ifndef OXTELLARSDK_TEXTUREREFERENCES_H
#define OXTELLARSDK_TEXTUREREFERENCES_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// A texture in the attributes of a location: the parameter "file" of a node of its "material", the
/// "texture" of its "light", or one of its "textures".

namespace OxAttribute {

struct TextureReference {
    std::string attribute; ///< dotted name, such as "material.nodes.wood.parameters.file"
    std::string file;      ///< the unresolved text; never empty
};

/// All textures at time 0. Attributes in groups whose names contain a dot are left out.
OXTELLARSDK_API std::vector<TextureReference> FindTextures(const GroupAttribute& attrs);

/// Whether the path is neither empty nor absolute.
OXTELLARSDK_API bool IsRelativeFile(std::string_view path);

/// The existing files of a set of tiles, sorted: their names have a number from 1001 to 9999 in the
/// place of "<UDIM>". Empty if `file` has no "<UDIM>" in its name.
OXTELLARSDK_API std::vector<std::string> FindTiles(const std::string& file);

/// Whether the file's name has "<UDIM>".
OXTELLARSDK_API bool IsTilePattern(std::string_view file);

/// The attributes with absolute paths for the relative textures that exist in `folder`. Other
/// textures are unchanged: renderers may find them in other ways. Returns `attrs` itself if nothing
/// changes.
OXTELLARSDK_API GroupAttribute WithTexturesIn(const std::string& folder,
                                              const GroupAttribute& attrs);

/// Another path for a texture; empty to keep the path that it has.
using TexturePath = std::function<std::string(const std::string& file)>;

/// The attributes with other paths for their textures. Returns `attrs` itself if nothing changes.
OXTELLARSDK_API GroupAttribute WithTextures(const GroupAttribute& attrs, const TexturePath& pathOf);

/// Whether the file, or every tile of the set, certainly does not exist. Returns false for
/// references with environment variables, home folders, frame tokens and the like, and for relative
/// ones if there is a search path for assets.
OXTELLARSDK_API bool IsMissingTexture(const std::string& file);

} // namespace OxAttribute

#endif
