#ifndef OXTELLARSDK_FILEBUFFER_H
#define OXTELLARSDK_FILEBUFFER_H

#include <cstdint>
#include <cstdio>
#include <string>

#include "files/RegularFile.h"

namespace OxAttribute {

/// How the bytes of a large file come into memory.
enum class FileAccess {
    /// The file is mapped: its pages are those of the system's cache, shared with other processes.
    /// Whoever cuts the file short takes pages away that are in use.
    Map,
    /// Each piece is copied once, when it is fetched. What was fetched stays as it is whatever
    /// happens to the file.
    Read
};

/// The bytes of a whole file, in memory or mapped, with room for one pointer in front:
/// data()[-8..0) belongs to the owner and starts as zeros. Movable, for one owner.
class FileBuffer {
public:
    /// Plain files above this are opened by Open; smaller ones are read, which is as fast.
    static constexpr std::uint64_t kLargeBytes = 4u << 20;

    FileBuffer() = default;
    FileBuffer(FileBuffer&& other) noexcept;
    FileBuffer& operator=(FileBuffer&& other) noexcept;
    ~FileBuffer();

    /// Zeroed memory. Throws std::bad_alloc.
    static FileBuffer Allocate(std::uint64_t bytes);
    /// Address space for all of an open file in this state, of which nothing may be read before it
    /// was fetched. The file is kept open. Throws std::runtime_error with the system's reason.
    static FileBuffer Open(std::FILE* file, const RegularFile::State& state, FileAccess access);

    /// Makes these bytes readable. False when the file has become too short for them or cannot be
    /// read; `reason` then says why. Several threads may fetch at once, but no bytes that another
    /// thread is fetching or, unless mustFetchOnce(), reading.
    bool fetch(std::uint64_t begin, std::uint64_t end, std::string& reason) const;
    /// Whether bytes may change while they are fetched again.
    bool mustFetchOnce() const { return isOpen() && access == FileAccess::Read; }

    char* data() const { return start; }
    std::uint64_t size() const { return bytes; }
    void shrink(std::uint64_t newBytes) { bytes = newBytes; }
    /// Whether it is an open file and not memory.
    bool isOpen() const { return descriptor >= 0; }
    /// The state of the file when it was opened. Buffers with equal states hold the same bytes.
    const RegularFile::State& state() const { return openedState; }

private:
    char* start = nullptr;
    std::uint64_t bytes = 0;
    char* allocation = nullptr;
    std::uint64_t allocationBytes = 0;
    int descriptor = -1; // of an open file
    FileAccess access = FileAccess::Read;
    RegularFile::State openedState;
};

/// What FileStream offers to readers that want the whole file at once.
class FileStreamAccess {
public:
    /// The rest of a stream, in one piece. A plain file that `read` is FileStream::read for,
    /// not read from before, is opened by FileBuffer::Open when it is large. `name` receives the
    /// file's name, or stays as it is for streams of other kinds.
    static FileBuffer ReadAll(void* stream, std::int64_t (*read)(void*, void*, std::int64_t),
                              std::string& name);
};

} // namespace OxAttribute

#endif
