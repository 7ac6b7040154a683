#ifndef TELLARINTERNAL_HOMEFOLDER_H
#define TELLARINTERNAL_HOMEFOLDER_H

#include <optional>
#include <string>

namespace TellarInternal {

/// The home folder in the system's account of a user, or of the user of this process if the name is
/// empty. Returns nothing if there is no such account. Safe from any thread.
std::optional<std::string> HomeFolderOf(const std::string& userName);

} // namespace TellarInternal

#endif
