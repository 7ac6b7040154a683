#include "MapSettings.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <system_error>

#if defined(__linux__)
#include <sys/vfs.h>
#elif !defined(_WIN32)
#include <sys/mount.h>
#include <sys/param.h>
#endif

#include <OxConfiguration/Configuration.h>

#include "NamedLogger.h"

namespace OxAttribute {

namespace {

const NamedLogger kLogger("FileStream");

constexpr const char* kMapAboveKey = "MAP_FILES_ABOVE";
constexpr const char* kMapRemoteKey = "MAP_REMOTE_FILES";
constexpr const char* kHandlerKey = "HANDLE_BUS_ERRORS";

// A file of this size fits into the memory of the process, and reading it takes only some tens of
// milliseconds longer than mapping it.
constexpr std::uint64_t kMapAboveMebibytes = 64;

/// Files of more bytes than this are mapped.
std::uint64_t MapAbove() {
    const std::string setting = Config()->get(kMapAboveKey);
    if (setting.empty()) return kMapAboveMebibytes << 20;
    std::uint64_t mebibytes = 0;
    const char* const end = setting.data() + setting.size();
    const auto [rest, error] = std::from_chars(setting.data(), end, mebibytes);
    if (setting == "never" || error == std::errc::result_out_of_range) return UINT64_MAX;
    if (error == std::errc() && rest == end)
        return mebibytes > UINT64_MAX >> 20 ? UINT64_MAX : mebibytes << 20;
    kLogger.error("{} is \"{}\"; it must be a number of MiB or \"never\". No file is mapped.",
                  kMapAboveKey, setting);
    return UINT64_MAX;
}

/// A setting that is 0 or 1; false, with an error in the log, when it is something else.
bool IsOn(const char* key, bool unlessSet) {
    const std::string setting = Config()->get(key);
    if (setting.empty()) return unlessSet;
    if (setting == "0" || setting == "1") return setting == "1";
    kLogger.error("{} is \"{}\"; it must be 0 or 1. It counts as 0.", key, setting);
    return false;
}

bool IsRemote([[maybe_unused]] std::FILE* file) {
#if defined(__linux__)
    struct statfs system {};
    // A file system that does not say what it is is not trusted either.
    return fstatfs(fileno(file), &system) != 0 ||
           IsRemoteFileSystem(static_cast<std::uint32_t>(system.f_type));
#elif defined(MNT_LOCAL)
    struct statfs system {};
    return fstatfs(fileno(file), &system) != 0 || (system.f_flags & MNT_LOCAL) == 0;
#else
    return false;
#endif
}

} // namespace

bool IsRemoteFileSystem(std::uint64_t type) {
    constexpr std::uint64_t kTypes[] = {
        0x6969,     // NFS
        0x517b,     // SMB
        0xfe534d42, // SMB 2
        0xff534d42, // CIFS
        0x564c,     // NCP
        0x65735546, // FUSE
        0x01021997, // 9p
        0x5346414f, // AFS of the kernel
        0x6b414653, // AFS of others
        0x73757245, // Coda
        0x00c36400, // Ceph
        0x0bd00bd0, // Lustre
        0x01161970, // GFS2
        0x7461636f, // OCFS2
        0x47504653, // GPFS
        0x19830326, // BeeGFS
        0x786f4256, // shared folders of a virtual machine
    };
    return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

bool MayHandleBusErrors() {
    return IsOn(kHandlerKey, true);
}

FileAccess ChooseFileAccess(std::FILE* file, std::uint64_t bytes) {
    if (bytes <= MapAbove() || !MayHandleBusErrors()) return FileAccess::Read;
    const bool isTrusted = !IsRemote(file) || IsOn(kMapRemoteKey, false);
    return isTrusted ? FileAccess::Map : FileAccess::Read;
}

} // namespace OxAttribute
