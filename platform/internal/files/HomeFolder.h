#ifndef TELLARINTERNAL_HOMEFOLDER_H
#define TELLARINTERNAL_HOMEFOLDER_H

#include <optional>
#include <string>

namespace TellarInternal {

/// The home folder that the system's accounts name for a user, for the user of this process
/// when the name is empty; nothing when there is no such account. The one place that asks
/// the system for accounts. Safe from any thread.
std::optional<std::string> HomeFolderOf(const std::string& userName);

} // namespace TellarInternal

#endif
