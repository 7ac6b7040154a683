#ifndef OXTELLARSDK_FILESTREAM_H
#define OXTELLARSDK_FILESTREAM_H

#include <cstdint>
#include <memory>
#include <string>

#include <OxTellarSDK/Export.h>

namespace OxAttribute {

/// A file open for reading, closed by the destructor. For one thread at a time.
class OXTELLARSDK_API FileStream {
public:
    /// Throws TellarError naming the file and the reason when it cannot be opened or is not
    /// a regular file; a named pipe is refused at once. With `decompress`, reading a file that is
    /// compressed with zstd gives the decompressed bytes.
    FileStream(const std::string& path, bool decompress);
    ~FileStream();
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    const std::string& getPath() const;

    /// Goes back to the first byte.
    void rewind();

    /// A StreamRead; `stream` is a FileStream*. Throws TellarError naming the file and the
    /// reason when the file cannot be read or its compressed data is damaged.
    static std::int64_t read(void* stream, void* buffer, std::int64_t bytes);

private:
    friend class FileStreamAccess;
    struct State;
    std::unique_ptr<State> state;
};

} // namespace OxAttribute

#endif
