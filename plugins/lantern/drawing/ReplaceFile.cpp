#include "drawing/ReplaceFile.h"

#include <cerrno>
#include <filesystem>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Report.h"
#include "drawing/FileKind.h"

namespace lantern {
namespace {

namespace fs = std::filesystem;

constexpr int kTries = 100; // attempts to find an unused name
constexpr std::size_t kMostName =
    200;                       // longer picture names are cut, since file names have a limit
constexpr int kMostLinks = 40; // Linux follows as many links

[[noreturn]] void Fail(const std::string& path, int error) {
    throw RenderError("cannot write the picture \"" + path +
                      "\": " + std::generic_category().message(error));
}

class Descriptor {
public:
    explicit Descriptor(int number) : number(number) {}
    ~Descriptor() {
        if (number >= 0) ::close(number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number; }
    /// Returns false on failure: some file systems report a full disk only here.
    bool close() {
        const int closed = number;
        number = -1;
        return ::close(closed) == 0;
    }

private:
    int number;
};

/// Removes the file unless place() has renamed it.
class HiddenFile {
public:
    explicit HiddenFile(std::string path) : path(std::move(path)) {}
    ~HiddenFile() {
        if (!isPlaced) ::unlink(path.c_str());
    }
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;

    bool place(const std::string& where) {
        isPlaced = ::rename(path.c_str(), where.c_str()) == 0;
        return isPlaced;
    }

private:
    std::string path;
    bool isPlaced = false;
};

std::string RandomLetters() {
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string text;
    for (int i = 0; i < 6; ++i)
        text += letters[random() % (sizeof letters - 1)];
    return text;
}

fs::path FolderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

/// Creates a hidden file beside `path`, assigns its name and returns its descriptor, or -1.
int OpenHidden(const fs::path& path, std::string& hidden) {
    const std::string name = path.filename().string().substr(0, kMostName);
    for (int i = 0; i < kTries; ++i) {
        hidden = (FolderOf(path) / ("." + name + "." + RandomLetters())).string();
        const int file = ::open(hidden.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0 || errno != EEXIST) return file;
    }
    return -1;
}

bool WriteAll(int file, const std::vector<unsigned char>& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(file, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) written += static_cast<std::size_t>(count);
    }
    return true;
}

bool KeepPermissions(int file, const std::string& path) {
    struct stat before {};
    if (::stat(path.c_str(), &before) != 0) return true; // there is no old file
    return ::fchmod(file, before.st_mode & 07777) == 0;
}

/// The path behind all symbolic links at its end, whether or not a file exists there.
std::string BehindLinks(const std::string& path) {
    fs::path place = path;
    std::error_code error;
    for (int i = 0; i < kMostLinks; ++i) {
        if (!fs::is_symlink(fs::symlink_status(place, error))) return place.string();
        const fs::path target = fs::read_symlink(place, error);
        if (error) break;
        place = place.parent_path() / target; // the target alone if it is absolute
    }
    Fail(path, ELOOP);
}

void WriteToDevice(const std::string& path, const std::vector<unsigned char>& bytes) {
    Descriptor device(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    if (device.get() < 0 || !WriteAll(device.get(), bytes) || !device.close()) Fail(path, errno);
}

/// Makes the renaming durable. Errors are ignored: some file systems cannot flush folders.
void FlushFolder(const fs::path& folder) {
    const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.get() >= 0) ::fsync(descriptor.get());
}

void ReplaceRegularFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    CheckFolderOf(path);
    std::string hiddenPath;
    Descriptor file(OpenHidden(path, hiddenPath));
    if (file.get() < 0) Fail(path, errno);
    HiddenFile hidden(hiddenPath);
    const bool isWritten = WriteAll(file.get(), bytes) && KeepPermissions(file.get(), path) &&
                           ::fsync(file.get()) == 0 && file.close() && hidden.place(path);
    if (!isWritten) Fail(path, errno);
    FlushFolder(FolderOf(path));
}

} // namespace

void CheckFolderOf(const std::string& path) {
    const fs::path folder = FolderOf(path);
    std::error_code error;
    if (fs::is_directory(folder, error)) return;
    throw RenderError("cannot write the picture \"" + path + "\": there is no folder \"" +
                      folder.string() + "\"");
}

void ReplaceFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::error_code ignored;
    const bool isDirectory = fs::is_directory(path, ignored);
    if (IsOtherThanFile(path) && !isDirectory) return WriteToDevice(path, bytes);
    ReplaceRegularFile(BehindLinks(path), bytes);
}

} // namespace lantern
