#include "TemporaryFile.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#if defined(__linux__)
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>
#endif

#include <OxConfiguration/Configuration.h>

#include "files/RegularFile.h"

namespace OxAttribute {

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept {
    *this = std::move(other);
}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    std::swap(folder, other.folder);
    return *this;
}

#if defined(__linux__)

namespace {

constexpr const char* kFolderKey = "TEMPORARY_FOLDER";

/// A file system in memory would take from the process what the file is to save.
bool IsOnDisk(const std::string& folder) {
    constexpr std::uint32_t kTmpfs = 0x01021994;
    constexpr std::uint32_t kRamfs = 0x858458f6;
    struct statfs system {};
    if (statfs(folder.c_str(), &system) != 0) return false;
    const auto type = static_cast<std::uint32_t>(system.f_type);
    return type != kTmpfs && type != kRamfs;
}

bool HasRoomFor(std::uint64_t bytes, const std::string& folder) {
    struct statvfs disk {};
    if (statvfs(folder.c_str(), &disk) != 0 || disk.f_frsize == 0) return false;
    return disk.f_bavail > bytes / disk.f_frsize;
}

std::string ChooseFolder(std::uint64_t bytes, std::string& defect) {
    if (std::string configured = Config()->get(kFolderKey); !configured.empty()) {
        if (HasRoomFor(bytes, configured)) return configured;
        defect = std::string(kFolderKey) + ", which is \"" + configured +
                 "\", is no folder with room for them";
        return {};
    }
    std::error_code ignored;
    const std::string temporary = std::filesystem::temp_directory_path(ignored).string();
    for (const std::string& folder : {temporary, std::string("/var/tmp")})
        if (!folder.empty() && IsOnDisk(folder) && HasRoomFor(bytes, folder)) return folder;
    defect = "no folder for temporary files is on a disk with room for them; the key " +
             std::string(kFolderKey) + " can name one";
    return {};
}

} // namespace

TemporaryFile TemporaryFile::Make(std::uint64_t bytes, std::string& defect) {
    TemporaryFile file;
    file.folder = ChooseFolder(bytes, defect);
    if (file.folder.empty()) return file;
    std::string path = file.folder + "/tellar-pieces-XXXXXX";
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);
    if (descriptor >= 0 && unlink(path.c_str()) == 0 &&
        ftruncate(descriptor, static_cast<off_t>(bytes)) == 0) {
        file.descriptor = descriptor;
        return file;
    }
    defect =
        "no temporary file can be made in \"" + file.folder + "\": " + RegularFile::ReasonOf(errno);
    if (descriptor >= 0) close(descriptor);
    return file;
}

TemporaryFile TemporaryFile::MakeInMemory(std::uint64_t bytes) noexcept {
    TemporaryFile file;
    struct rlimit most {};
    // Beyond the limit, the system would end the process.
    if (getrlimit(RLIMIT_FSIZE, &most) != 0 || most.rlim_cur < bytes) return file;
    const int descriptor = memfd_create("tellar-pieces", MFD_CLOEXEC);
    if (descriptor < 0) return file;
    if (ftruncate(descriptor, static_cast<off_t>(bytes)) == 0)
        file.descriptor = descriptor;
    else
        close(descriptor);
    return file;
}

TemporaryFile::~TemporaryFile() {
    if (isOpen()) close(descriptor);
}

bool TemporaryFile::write(const char* from, std::uint64_t bytes, std::uint64_t offset,
                          std::string& defect) const {
    while (bytes > 0) {
        const ssize_t put = pwrite(descriptor, from, bytes, static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            const std::string place = folder.empty() ? "memory" : '"' + folder + '"';
            defect = "cannot be read: its temporary copy in " + place +
                     " cannot be written: " + RegularFile::ReasonOf(put < 0 ? errno : ENOSPC);
            return false;
        }
        from += put;
        offset += static_cast<std::uint64_t>(put);
        bytes -= static_cast<std::uint64_t>(put);
    }
    return true;
}

#else

TemporaryFile TemporaryFile::Make(std::uint64_t, std::string& defect) {
    defect = "temporary files are not used on this system";
    return {};
}

TemporaryFile TemporaryFile::MakeInMemory(std::uint64_t) noexcept {
    return {};
}

TemporaryFile::~TemporaryFile() = default;

bool TemporaryFile::write(const char*, std::uint64_t, std::uint64_t, std::string&) const {
    return false;
}

#endif

} // namespace OxAttribute
