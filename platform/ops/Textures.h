#ifndef TELLAROPS_TEXTURES_H
#define TELLAROPS_TEXTURES_H

#include <string>

#include "BuiltinOp.h"

namespace TellarOps {

// Textures in the arguments of an Op.

/// The argument "directory" of an op type whose arguments may contain textures.
OxOpType::Argument DirectoryArgument();

/// The attributes with absolute paths for the textures that exist in the folder. An empty folder
/// changes nothing.
GroupAttribute InFolder(const std::string& folder, GroupAttribute attrs);

/// Warns of each texture in the attributes that does not exist. `path` is the path of the location,
/// or empty.
void WarnOfMissingTextures(CheckContext& context, const GroupAttribute& attrs,
                           const std::string& path);

} // namespace TellarOps

#endif
