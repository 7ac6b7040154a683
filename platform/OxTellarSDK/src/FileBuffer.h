#ifndef OXTELLARSDK_FILEBUFFER_H
#define OXTELLARSDK_FILEBUFFER_H

#include <cstdint>
#include <string>

namespace OxAttribute {

/// The bytes of a whole file, in memory or mapped, with room for one pointer in front:
/// data()[-8..0) belongs to the owner and starts as zeros. Movable, for one owner.
class FileBuffer {
public:
    /// Plain files above this are mapped; smaller ones are read, which is as fast, and
    /// keeps them whole whatever happens to the file.
    static constexpr std::uint64_t kMapThreshold = 4u << 20;

    FileBuffer() = default;
    FileBuffer(FileBuffer&& other) noexcept;
    FileBuffer& operator=(FileBuffer&& other) noexcept;
    ~FileBuffer();

    /// Zeroed memory. Throws std::bad_alloc.
    static FileBuffer Allocate(std::uint64_t bytes);
    /// The first `bytes` bytes of an open file. Throws std::runtime_error with the system's
    /// reason.
    static FileBuffer Map(int descriptor, std::uint64_t bytes);

    char* data() const { return start; }
    std::uint64_t size() const { return bytes; }
    void shrink(std::uint64_t newBytes) { bytes = newBytes; }
    /// Which file on disk is mapped, and which state of it; zeros for memory. Two buffers
    /// with equal identities hold the same bytes.
    struct Identity {
        std::uint64_t device = 0, file = 0, bytes = 0;
        std::int64_t modifiedSeconds = 0, modifiedNanoseconds = 0;
    };
    const Identity& identity() const { return mappedIdentity; }
    bool isMapped() const { return mapped; }

private:
    char* start = nullptr;
    std::uint64_t bytes = 0;
    char* allocation = nullptr;
    std::uint64_t allocationBytes = 0;
    bool mapped = false;
    Identity mappedIdentity;
};

/// What FileStream offers to readers that want the whole file at once.
class FileStreamAccess {
public:
    /// The rest of a stream, in one piece. A plain file that `read` is FileStream::read for,
    /// not read from before, is mapped when it is large. `name` receives the file's name, or
    /// stays as it is for streams of other kinds.
    static FileBuffer ReadAll(void* stream, std::int64_t (*read)(void*, void*, std::int64_t),
                              std::string& name);
};

} // namespace OxAttribute

#endif
