#ifndef OXTELLARSDK_TEXTUREREFERENCES_H
#define OXTELLARSDK_TEXTUREREFERENCES_H

#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// The textures that attributes of a location name: the parameter "file" of each node of its
/// "material", the "texture" of its "light", and its "textures".

namespace OxAttribute {

struct TextureReference {
    std::string attribute; ///< "material.nodes.wood.parameters.file"
    std::string file;      ///< as it is written, not empty
};

/// All textures at time 0. Attributes in groups whose names hold a dot are left out.
OXTELLARSDK_API std::vector<TextureReference> FindTextures(const GroupAttribute& attrs);

/// Whether the path is neither empty nor absolute.
OXTELLARSDK_API bool IsRelativeFile(std::string_view path);

/// The files of a set of tiles, sorted: those with a number from 1001 to 9999 where the file's name
/// has "<UDIM>". Empty if it has no such mark, or if there are none.
OXTELLARSDK_API std::vector<std::string> FindTiles(const std::string& file);

/// Whether the file's name has "<UDIM>".
OXTELLARSDK_API bool IsTilePattern(std::string_view file);

/// The attributes with absolute paths for the relative textures that exist in `folder`. Others stay
/// as they are, because they may be found in other ways. Returns `attrs` itself if nothing changes.
OXTELLARSDK_API GroupAttribute WithTexturesIn(const std::string& folder,
                                              const GroupAttribute& attrs);

/// Whether the reference names a file that is certainly not there, or a set of tiles of which none
/// is. References with environment
/// variables, home folders, frame tokens and the like are not looked for, and relative ones not if
/// there is a search path for assets.
OXTELLARSDK_API bool IsMissingTexture(const std::string& file);

} // namespace OxAttribute

#endif
