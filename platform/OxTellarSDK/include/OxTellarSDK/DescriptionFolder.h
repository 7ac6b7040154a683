#ifndef OXTELLARSDK_DESCRIPTIONFOLDER_H
#define OXTELLARSDK_DESCRIPTIONFOLDER_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// Files that an op-tree description names relative to its own folder. An Op whose type takes the
/// argument "directory" keeps there what its relative files count from.

namespace OxAttribute {

/// The absolute path, without links, of the folder that the file lies in.
OXTELLARSDK_API std::string FolderOfFile(const std::string& path);

/// The description with absolute "directory" arguments: relative ones count from the folder of the
/// description's file. Returns `description` itself if it has none.
OXTELLARSDK_API GroupAttribute WithFolderOfFile(const GroupAttribute& description,
                                                const std::string& path);

} // namespace OxAttribute

#endif
