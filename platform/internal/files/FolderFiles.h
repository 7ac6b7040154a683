#ifndef TELLARINTERNAL_FOLDERFILES_H
#define TELLARINTERNAL_FOLDERFILES_H

#include <string>
#include <system_error>
#include <vector>

namespace TellarInternal {

/// The paths of what lies in a folder, folders included, in no order; "." and ".." are left out.
/// When the folder cannot be read, the system's reason is assigned. Throws std::bad_alloc when
/// there is no memory, which the standard library's directory iterator answers by ending the
/// process.
std::vector<std::string> FolderFiles(const std::string& folder, std::error_code& code);

} // namespace TellarInternal

#endif
