#include "files/FolderFiles.h"

#ifdef _WIN32
#include <filesystem>
#else
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <new>
#include <string_view>
#endif

namespace TellarInternal {

#ifdef _WIN32

std::vector<std::string> FolderFiles(const std::string& folder, std::error_code& code) {
    std::vector<std::string> files;
    for (std::filesystem::directory_iterator entry(folder, code), end; !code && entry != end;
         entry.increment(code))
        files.push_back(entry->path().string());
    return files;
}

#else

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

} // namespace

std::vector<std::string> FolderFiles(const std::string& folder, std::error_code& code) {
    std::vector<std::string> files;
    const std::unique_ptr<DIR, FolderCloser> open(opendir(folder.c_str()));
    errno = open ? 0 : errno;
    while (const dirent* const entry = open ? readdir(open.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") files.push_back(folder + '/' + std::string(name));
        errno = 0;
    }
    if (errno == ENOMEM) throw std::bad_alloc();
    code.assign(errno, std::generic_category());
    return files;
}

#endif

} // namespace TellarInternal
