#ifndef TELLARINTERNAL_REPLACINGFILE_H
#define TELLARINTERNAL_REPLACINGFILE_H

#include <cstddef>
#include <string>

#include "files/RegularFile.h"

namespace TellarInternal {

/// A new file that takes the place of another one in a single step when it is complete. Until then
/// it has a name of its own in the same folder, and it is removed unless replace() was reached.
///
/// A symbolic link stays as it is, and the file that it leads to is replaced. A device or a pipe is
/// never replaced: the bytes are written to it.
///
/// All failures are std::runtime_errors: the complaint, ": " and the system's reason. For one
/// thread.
class ReplacingFile {
public:
    /// Creates the new file beside `path`. `complaint` says that `path` cannot be written.
    ReplacingFile(std::string path, std::string complaint);
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    void write(const void* data, std::size_t bytes);

    /// Closes the new file and puts it in place. Nothing may be written after that.
    void replace();

private:
    void createBeside();
    [[noreturn]] void fail(int error) const;

    std::string path; // behind all symbolic links
    std::string complaint;
    std::string newPath; // empty: the bytes go to `path` itself
    RegularFile::Pointer file;
};

/// Whether something exists at the path that bytes can only be sent to, such as a device or a pipe.
/// Symbolic links are followed.
bool IsDeviceOrPipe(const std::string& path);

/// The path behind all symbolic links at its end, whether or not a file exists there. Empty when
/// the links lead in a circle.
std::string BehindLinks(const std::string& path);

} // namespace TellarInternal

#endif
