#include "MachineMemory.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <OxTellarSDK/MemoryBudget.h>

namespace OxTellarMemory {

namespace {

/// The number in the file, in bytes. A file without one, or with "max", sets no limit.
std::uint64_t LimitIn(const std::string& file) {
    std::uint64_t bytes = 0;
    return std::ifstream(file) >> bytes ? bytes : kUnlimitedMemory;
}

std::uint64_t PhysicalMemory(const std::string& root) {
    std::ifstream file(root + "/proc/meminfo");
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string name;
        std::uint64_t kibibytes = 0;
        if (words >> name >> kibibytes && name == "MemTotal:") return kibibytes << 10;
    }
    return kUnlimitedMemory;
}

/// The least limit of a group and of those above it. In a container, the folders of the groups may
/// begin below the group that the kernel names; the folders that are missing set no limit.
std::uint64_t LimitOfGroup(const std::string& mount, std::string group, const char* fileName) {
    std::uint64_t least = kUnlimitedMemory;
    for (;;) {
        while (!group.empty() && group.back() == '/')
            group.pop_back();
        least = std::min(least, LimitIn(mount + group + fileName));
        if (group.empty()) return least;
        group.resize(std::min(group.size(), group.rfind('/') + 1));
    }
}

/// Whether "memory" is one of the names between commas.
bool HasMemory(const std::string& controllers) {
    return ("," + controllers + ",").find(",memory,") != std::string::npos;
}

/// Each line of the file is "number:controllers:group"; version 2 has no controllers there.
std::uint64_t LimitOfGroups(const std::string& root) {
    std::uint64_t least = kUnlimitedMemory;
    const std::string mount = root + "/sys/fs/cgroup";
    std::ifstream file(root + "/proc/self/cgroup");
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const std::string group = line.substr(second + 1);
        if (controllers.empty())
            least = std::min(least, LimitOfGroup(mount, group, "/memory.max"));
        else if (HasMemory(controllers))
            least =
                std::min(least, LimitOfGroup(mount + "/memory", group, "/memory.limit_in_bytes"));
    }
    return least;
}

} // namespace

std::uint64_t FindMachineMemory(const std::string& root) {
    return std::min(PhysicalMemory(root), LimitOfGroups(root));
}

} // namespace OxTellarMemory
