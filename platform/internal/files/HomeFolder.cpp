#include "files/HomeFolder.h"

#include <cerrno>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace TellarInternal {

std::optional<std::string> HomeFolderOf(const std::string& userName) {
    // The system says "too small" with ERANGE; past a megabyte something else is wrong.
    constexpr std::size_t kLargestBuffer = 1 << 20;
    for (std::size_t size = 1024; size <= kLargestBuffer; size *= 2) {
        std::vector<char> buffer(size);
        passwd account = {};
        passwd* found = nullptr;
        const int status =
            userName.empty()
                ? getpwuid_r(getuid(), &account, buffer.data(), buffer.size(), &found)
                : getpwnam_r(userName.c_str(), &account, buffer.data(), buffer.size(), &found);
        if (status == ERANGE) continue;
        if (status != 0 || !found || !found->pw_dir) return std::nullopt;
        return std::string(found->pw_dir);
    }
    return std::nullopt;
}

} // namespace TellarInternal
