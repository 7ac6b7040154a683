#ifndef OXTELLARSDK_DESCRIPTIONFOLDER_H
#define OXTELLARSDK_DESCRIPTIONFOLDER_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// Relative file names in op-tree descriptions, which count from the folder of the description. The
/// argument "directory" of an Op, if its type has one, holds that folder.

namespace OxAttribute {

/// The absolute path, without symbolic links, of the folder that contains the file.
OXTELLARSDK_API std::string FolderOfFile(const std::string& path);

/// The description with absolute "directory" arguments: relative ones count from the folder of the
/// description's file. Returns `description` itself if it has none.
OXTELLARSDK_API GroupAttribute WithFolderOfFile(const GroupAttribute& description,
                                                const std::string& path);

} // namespace OxAttribute

#endif
