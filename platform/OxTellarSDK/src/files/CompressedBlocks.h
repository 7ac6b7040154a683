#ifndef OXTELLARSDK_COMPRESSEDBLOCKS_H
#define OXTELLARSDK_COMPRESSEDBLOCKS_H

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "PieceMemory.h"
#include "files/RegularFile.h"

namespace OxAttribute {

/// Where the blocks of a file that is compressed in blocks lie.
struct CompressedTable {
    std::uint64_t plainBytes = 0;
    std::uint64_t blockBytes = 0;
    /// The start of each block in the file, and the end of the last one.
    std::vector<std::uint64_t> offsets;

    std::uint64_t numberOfBlocks() const { return offsets.size() - 1; }

    /// The table at the end of an open file in this state. Returns nothing when there is none, as
    /// in a file that was compressed as a whole. Throws std::runtime_error when the table is
    /// damaged or the file cannot be read; the text is the end of a sentence that begins with the
    /// file.
    static std::optional<CompressedTable> Read(std::FILE* file, const RegularFile::State& state);
};

/// The blocks of an open file, each of which is decompressed once, when it is first wanted. Any
/// number of threads may fetch at once; those that want the same block wait for each other.
class CompressedBlocks {
public:
    /// `descriptor` is an open file with this table, `memory` is that of all plain bytes.
    /// Both must stay.
    CompressedBlocks(int descriptor, CompressedTable table, PieceMemory& memory);
    ~CompressedBlocks();
    CompressedBlocks(const CompressedBlocks&) = delete;
    CompressedBlocks& operator=(const CompressedBlocks&) = delete;

    /// Makes these plain bytes readable. False when they cannot be read or are damaged; `defect`
    /// then says so, as the end of a sentence that begins with the file. Throws std::bad_alloc.
    bool fetch(std::uint64_t begin, std::uint64_t end, std::string& defect);

private:
    /// What a thread needs to decompress a block. It is kept for the next one.
    class Worker;

    bool fetchBlock(std::uint64_t block, std::string& defect);
    bool decompress(std::uint64_t block, Worker& worker, std::string& defect);
    bool decompressTo(char* to, std::uint64_t block, Worker& worker, std::string& defect) const;
    std::unique_ptr<Worker> takeWorker();

    const int descriptor;
    const CompressedTable table;
    PieceMemory& memory;
    std::unique_ptr<std::atomic<bool>[]> fetched;
    // Each lock guards every sixteenth block, because only one thread may decompress a block.
    std::array<std::mutex, 16> blockLocks;
    std::mutex workerLock; // guards `idleWorkers`
    std::vector<std::unique_ptr<Worker>> idleWorkers;
};

} // namespace OxAttribute

#endif
