#ifndef TELLAROPS_TEXTURES_H
#define TELLAROPS_TEXTURES_H

#include <string>

#include "BuiltinOp.h"

namespace TellarOps {

// Textures that an Op's own arguments name.

/// The argument "directory" of an op type whose arguments may name textures.
OxOpType::Argument DirectoryArgument();

/// The attributes with absolute paths of the textures that exist in the folder. An empty folder
/// changes nothing.
GroupAttribute InFolder(const std::string& folder, const GroupAttribute& attrs);

/// Warns of each texture of the attributes that does not exist. `path` is that of their location,
/// or empty.
void WarnOfMissingTextures(CheckContext& context, const GroupAttribute& attrs,
                           const std::string& path);

} // namespace TellarOps

#endif
