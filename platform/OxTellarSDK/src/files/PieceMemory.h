#ifndef OXTELLARSDK_PIECEMEMORY_H
#define OXTELLARSDK_PIECEMEMORY_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "FileMemory.h"
#include "TemporaryFile.h"

namespace OxAttribute {

/// The bytes of one file that are copied or decompressed piece by piece. Readers use them in place,
/// so they stay at their addresses until the file is closed.
///
/// They lie in memory, counted as the cache "pieces of files" of the memory budget, and are never
/// dropped. Those of a file of more than half of the budget lie in a temporary file instead, which
/// is mapped and counted as any other mapped file: the system can take back the memory of its pages
/// and read them again. The memory of those that are not small is that of a file as well, where the
/// system has such files: bytes that are written into it need no page that is cleared before.
///
/// For any number of threads, but no two may fill the same bytes at once. After a fork, parent and
/// child fill the same temporary file, with the same bytes unless the original has changed.
class PieceMemory {
public:
    /// For the bytes of a file at this place of the address space, which must be reserved for
    /// writing until this is destroyed. Throws std::bad_alloc, and std::runtime_error with the
    /// system's reason.
    PieceMemory(char* start, std::uint64_t bytes);
    ~PieceMemory();
    PieceMemory(const PieceMemory&) = delete;
    PieceMemory& operator=(const PieceMemory&) = delete;

    /// Whether they lie in a temporary file on a disk.
    bool isInFile() const { return isOnDisk; }
    int fileDescriptor() const { return file.fileDescriptor(); }
    /// Why the bytes are in memory although the file takes more than half of the budget, as a
    /// sentence without its end. Empty if that is not so.
    const std::string& reasonForMemory() const { return reason; }

    /// Puts the bytes that `fill(to)` writes where they belong. Returns false if `fill` does, or if
    /// there is no room; `defect` then says so, as the end of a sentence that begins with the file.
    /// Throws std::bad_alloc.
    template <typename Fill>
    bool put(std::uint64_t begin, std::uint64_t end, std::string& defect, const Fill& fill) {
        use(begin, end);
        if (!file.isOpen()) return fill(start + begin);
        const std::unique_ptr<char[]> bytes(new char[end - begin]);
        if (!fill(bytes.get()) || !file.write(bytes.get(), end - begin, begin, defect))
            return false;
        if (isOnDisk) setFilled(begin, end);
        return true;
    }
    /// True if the bytes were put into the temporary file before, each piece of 64 KiB from
    /// its start on. False for bytes in memory.
    bool has(std::uint64_t begin, std::uint64_t end) const noexcept;

    /// These bytes take memory from now on, if they did not before. They are counted in pieces of
    /// 64 KiB.
    void use(std::uint64_t begin, std::uint64_t end) noexcept;

    /// Does for bytes in a temporary file what MappedFileMemory::onGiveBack does. `function` is
    /// never called for bytes in memory.
    void onGiveBack(MappedFileMemory::Forget function);

private:
    static constexpr std::uint64_t kPieceBytes = 64u << 10;

    TemporaryFile makeFile();
    void setFilled(std::uint64_t begin, std::uint64_t end) noexcept;
    void forget(std::uint64_t begin, std::uint64_t end) noexcept;

    char* const start;
    const std::uint64_t bytes;
    std::string reason;
    bool isOnDisk = false;
    const TemporaryFile file;
    const std::unique_ptr<std::atomic<bool>[]> isUsed; // by piece
    std::atomic<std::uint64_t> usedPieces{0};          // of those in memory
    // How many bytes from the start of each piece on are in the temporary file.
    std::unique_ptr<std::atomic<std::uint32_t>[]> filledBytes;
    std::unique_ptr<MappedFileMemory> pages; // of the temporary file
};

} // namespace OxAttribute

#endif
