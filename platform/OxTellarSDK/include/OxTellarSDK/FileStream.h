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
    /// Throws std::runtime_error naming the file and the reason when it cannot be opened
    /// or is no regular file; a named pipe is refused at once. With `decompress`, a zstd-compressed
    /// file reads as what was compressed; any other file reads as it is.
    FileStream(const std::string& path, bool decompress);
    ~FileStream();
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    const std::string& getPath() const;

    /// Goes back to the first byte.
    void rewind();

    /// A StreamRead over a FileStream*. Throws std::runtime_error naming the file and the
    /// reason when it cannot be read or what is compressed is damaged.
    static std::int64_t read(void* stream, void* buffer, std::int64_t bytes);

private:
    friend class FileStreamAccess;
    struct State;
    std::unique_ptr<State> state;
};

} // namespace OxAttribute

#endif
