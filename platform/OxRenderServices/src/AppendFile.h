#ifndef OXRENDERSERVICES_APPENDFILE_H
#define OXRENDERSERVICES_APPENDFILE_H

#include <string>
#include <string_view>

namespace OxRenderServices {

/// A file that is only ever added to, by several processes at once if need be. The one
/// place that uses the system's file calls: the standard library's streams promise no
/// single write. Not safe from several threads.
class AppendFile {
public:
    AppendFile() = default;
    ~AppendFile() { close(); }
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Opens the file, or makes it, in place of the one before. On failure returns false,
    /// assigns the system's reason, and no file is open.
    bool open(const std::string& path, std::string& reason);

    void close();
    bool isOpen() const { return descriptor >= 0; }

    /// Adds the bytes to the end in one write, and goes on only when the system took a
    /// part of them. On failure returns false and assigns the system's reason.
    bool append(std::string_view bytes, std::string& reason);

private:
    int descriptor = -1;
};

} // namespace OxRenderServices

#endif
