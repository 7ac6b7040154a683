#ifndef TELLARINTERNAL_REPLACINGFILE_H
#define TELLARINTERNAL_REPLACINGFILE_H

#include <cstddef>
#include <string>

#include "files/RegularFile.h"

namespace TellarInternal {

/// A new file that takes the place of another one in a single step when it is complete. Until then
/// it has a name of its own in the same folder, and it is removed unless replace() was reached.
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
    [[noreturn]] void fail(int error) const;

    std::string path;
    std::string complaint;
    std::string newPath;
    RegularFile::Pointer file;
    bool isInPlace = false;
};

} // namespace TellarInternal

#endif
