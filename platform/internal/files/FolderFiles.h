#ifndef TELLARINTERNAL_FOLDERFILES_H
#define TELLARINTERNAL_FOLDERFILES_H

#include <string>
#include <system_error>
#include <vector>

namespace TellarInternal {

/// The paths of all files and folders in a folder, except "." and "..", in any order. Assigns the
/// system's reason if the folder cannot be read. Throws std::bad_alloc when there is no memory; the
/// standard library's directory iterator would end the process.
std::vector<std::string> FolderFiles(const std::string& folder, std::error_code& code);

} // namespace TellarInternal

#endif
