#ifndef OXRENDERSERVICES_APPENDFILE_H
#define OXRENDERSERVICES_APPENDFILE_H

#include <string>
#include <string_view>

namespace OxRenderServices {

/// A file to which several processes may append at once. It uses the calls of the operating
/// system, because the streams of the standard library may split a write. Not safe from several
/// threads.
class AppendFile {
public:
    AppendFile() = default;
    ~AppendFile() { close(); }
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Closes the open file, then opens the new one or creates it. On failure returns false,
    /// assigns the system's reason, and no file is open.
    bool open(const std::string& path, std::string& reason);

    void close();
    bool isOpen() const { return descriptor >= 0; }

    /// Appends the bytes in one write, and in further ones if the system takes only a part of
    /// them. On failure returns false and assigns the system's reason.
    bool append(std::string_view bytes, std::string& reason);

private:
    int descriptor = -1;
};

} // namespace OxRenderServices

#endif
