#ifndef OXTELLARSDK_FILEBUFFER_H
#define OXTELLARSDK_FILEBUFFER_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "CompressedBlocks.h"
#include "FileMemory.h"
#include "MappedRegions.h"
#include "PieceMemory.h"
#include "files/RegularFile.h"

namespace OxAttribute {

/// How the bytes of a large file come into memory.
enum class FileAccess {
    /// The file is mapped: the process shares the pages of the system's cache. A program that cuts
    /// the file short takes away pages that are in use; MappedRegion has zeros put in their place.
    Map,
    /// Each piece is copied once, when it is fetched, and keeps its content whatever happens to the
    /// file.
    Read
};

/// The bytes of a whole file, in memory, mapped or decompressed as they are needed. Movable, for
/// one owner.
///
/// The first byte lies at a multiple of kAlignment, so that no other buffer has bytes in the same
/// run of that size. At least kTailBytes behind the last byte are readable too: a reader that has
/// compared a value's place with the end need not compare that of a value of up to 64 KiB as well.
class FileBuffer {
public:
    static constexpr std::uint64_t kAlignment = 65536;
    static constexpr std::uint64_t kTailBytes = 2 * 65536;

    /// Plain files above this are opened by Open; smaller ones are read, which is as fast.
    static constexpr std::uint64_t kLargeBytes = 4u << 20;

    FileBuffer() = default;
    FileBuffer(FileBuffer&& other) noexcept;
    FileBuffer& operator=(FileBuffer&& other) noexcept;
    ~FileBuffer();

    /// Zeroed memory. Throws std::bad_alloc.
    static FileBuffer Allocate(std::uint64_t bytes);
    /// Address space for all of an open file in this state. Bytes must be fetched before they are
    /// read. The buffer keeps the file open. Throws std::runtime_error with the system's reason.
    static FileBuffer Open(std::FILE* file, const RegularFile::State& state, FileAccess access);
    /// The same for the plain bytes of a file that is compressed in blocks.
    static FileBuffer OpenCompressed(std::FILE* file, const RegularFile::State& state,
                                     CompressedTable table);

    /// Makes these bytes readable. False when the file has become too short for them, cannot be
    /// read, or its compressed bytes are damaged; `defect` then says so, as the end of a sentence
    /// that begins with the file. Several threads may fetch at once, but no bytes that another
    /// thread is fetching or reading if mustFetchOnce(). Throws std::bad_alloc.
    bool fetch(std::uint64_t begin, std::uint64_t end, std::string& defect) const;
    /// True if bytes may change while they are fetched again.
    bool mustFetchOnce() const { return isOpen() && !blocks && access == FileAccess::Read; }
    /// True when the open file is no longer what it was, or bytes of it were lost: what was not
    /// checked before must not be trusted. Bytes in memory do not change.
    bool hasChanged() const;
    /// True when bytes of a mapped file were lost and are zeros now. Fast.
    bool isLost() const { return region && region->isLost(); }
    /// Why copied or decompressed bytes take more than half of the memory budget, as
    /// PieceMemory::reasonForMemory. Empty if they do not.
    std::string reasonForMemory() const { return pieces ? pieces->reasonForMemory() : ""; }

    /// Has `forget` called with the bytes of a mapped file whose pages were given back to the
    /// system, on any thread, until another function, or none, is given. Such bytes are still
    /// readable, and should be fetched again so that they are counted. `forget` must not throw or
    /// use the buffer.
    void onGiveBack(MappedFileMemory::Forget forget) const;

    char* data() const { return start; }
    std::uint64_t size() const { return bytes; }
    void shrink(std::uint64_t newBytes) { bytes = newBytes; }
    /// True for an open file, false for memory.
    bool isOpen() const { return descriptor >= 0; }
    /// The state of the file when it was opened. Buffers with equal states hold the same bytes.
    const RegularFile::State& state() const { return openedState; }

private:
    void open(std::FILE* file, const RegularFile::State& state);
    void reserve(std::uint64_t plainBytes);
    void keepPieces();
    bool copy(std::uint64_t begin, std::uint64_t end, std::string& defect) const;
    bool fetchPieces(std::uint64_t begin, std::uint64_t end, std::string& defect) const;
    bool fetchPages(std::uint64_t begin, std::uint64_t end, std::string& defect) const;

    char* start = nullptr;
    std::uint64_t bytes = 0;
    char* allocation = nullptr;
    std::uint64_t allocationBytes = 0;
    int descriptor = -1; // file descriptor of the open file
    FileAccess access = FileAccess::Read;
    RegularFile::State openedState;
    std::unique_ptr<PieceMemory> pieces;      // of a file that is copied or decompressed
    std::unique_ptr<CompressedBlocks> blocks; // of a compressed file
    std::unique_ptr<MappedFileMemory> pages;  // of a mapped file
    std::unique_ptr<MappedRegion> region;     // of a mapped file or of pieces in a file
};

/// How errors about a stream call it.
struct StreamName {
    std::string text; ///< as the subject of a sentence
    std::string file; ///< the path; empty for a stream that is not a FileStream
};

/// The part of FileStream for readers that want the whole file at once.
class FileStreamAccess {
public:
    /// The rest of a stream, in one piece. If the stream is a FileStream at the start of a large
    /// file that is plain or compressed in blocks, the file is opened in place. Assigns the name of
    /// a FileStream to `name`, which stays as it is for other streams.
    static FileBuffer ReadAll(void* stream, std::int64_t (*read)(void*, void*, std::int64_t),
                              StreamName& name);
};

} // namespace OxAttribute

#endif
