#include "CompressedBlocks.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include <xxhash.h>
#include <zstd.h>

#include "BlockHash.h"
#include "CompressedLayout.h"
#include "FilePieces.h"

namespace OxAttribute {

namespace {

// A table costs its reader memory, and pretends a size of the plain file that costs address space.
// No block of the format can be smaller than 1/10,000 of its content.
constexpr std::uint64_t kMaximumRatio = 10000;

[[noreturn]] void Refuse(const std::string& defect) {
    throw std::runtime_error("is damaged: " + defect);
}

bool IsPowerOfTwo(std::uint32_t number) {
    return number != 0 && (number & (number - 1)) == 0;
}

/// Reads from an open file, or throws std::runtime_error.
class TableReader {
public:
    TableReader(std::FILE* file, const RegularFile::State& state)
        : descriptor(fileno(file)), fileBytes(state.bytes) {}

    std::optional<CompressedTable> read() {
        if (fileBytes < kSkippableFrameHeaderBytes + sizeof footer) return std::nullopt;
        readAt(fileBytes - sizeof footer, &footer, sizeof footer);
        if (std::memcmp(footer.magic, kCompressedEndMagic, sizeof footer.magic) != 0)
            return std::nullopt;
        checkFooter();
        return readLengths();
    }

private:
    void readAt(std::uint64_t offset, void* to, std::uint64_t bytes) const {
        std::string defect;
        if (!ReadPiece(descriptor, static_cast<char*>(to), bytes, offset, defect))
            throw std::runtime_error(defect);
    }

    void checkFooter() const {
        if (XXH3_64bits(&footer, offsetof(CompressedFooter, footerChecksum)) !=
            footer.footerChecksum)
            Refuse("the footer of its compressed blocks does not have the checksum that it states");
        if (footer.reserved != 0 || !IsPowerOfTwo(footer.blockBytes) ||
            footer.blockBytes > kMaximumCompressedBlockBytes || footer.plainBytes == 0)
            Refuse("its compressed blocks are of no possible size");
        if (footer.plainBytes / kMaximumRatio > fileBytes)
            Refuse("it states more than " + std::to_string(kMaximumRatio) +
                   " times the bytes that it has");
    }

    CompressedTable readLengths() const {
        const std::uint64_t blocks =
            footer.plainBytes / footer.blockBytes + (footer.plainBytes % footer.blockBytes != 0);
        const std::uint64_t behindBlocks = kSkippableFrameHeaderBytes + blocks * 4 + sizeof footer;
        if (behindBlocks > fileBytes) Refuse("its table of compressed blocks ends early");
        checkFrame(fileBytes - behindBlocks, blocks);

        std::vector<std::uint32_t> lengths(blocks);
        readAt(fileBytes - sizeof footer - blocks * 4, lengths.data(), blocks * 4);
        if (HashBlock(lengths.data(), blocks * 4) != footer.tableChecksum)
            Refuse("its table of compressed blocks does not have the checksum that it states");

        CompressedTable table{footer.plainBytes, footer.blockBytes, {}};
        table.offsets.reserve(blocks + 1);
        std::uint64_t offset = 0;
        for (const std::uint32_t length : lengths) {
            // What does not shrink grows by a few bytes only.
            if (length == 0 || length > ZSTD_COMPRESSBOUND(std::uint64_t(footer.blockBytes)))
                Refuse("a compressed block is of no possible size");
            table.offsets.push_back(offset);
            offset += length;
        }
        table.offsets.push_back(offset);
        if (offset != fileBytes - behindBlocks) Refuse("its compressed blocks do not fill it");
        return table;
    }

    /// The frame that hides the table from programs that know zstd alone.
    void checkFrame(std::uint64_t offset, std::uint64_t blocks) const {
        std::uint32_t frame[2];
        readAt(offset, frame, sizeof frame);
        if (frame[0] != kSkippableFrameMagic || frame[1] != blocks * 4 + sizeof footer)
            Refuse("its table of compressed blocks has no frame");
    }

    const int descriptor;
    const std::uint64_t fileBytes;
    CompressedFooter footer{};
};

struct DecompressorDeleter {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

} // namespace

std::optional<CompressedTable> CompressedTable::Read(std::FILE* file,
                                                     const RegularFile::State& state) {
    return TableReader(file, state).read();
}

class CompressedBlocks::Worker {
public:
    Worker() : context(ZSTD_createDCtx()) {
        if (!context) throw std::bad_alloc();
    }

    const std::unique_ptr<ZSTD_DCtx, DecompressorDeleter> context;
    std::vector<char> input;
};

CompressedBlocks::CompressedBlocks(int descriptor, CompressedTable blockTable, PieceMemory& memory)
    : descriptor(descriptor), table(std::move(blockTable)), memory(memory),
      fetched(std::make_unique<std::atomic<bool>[]>(table.numberOfBlocks())) {}

CompressedBlocks::~CompressedBlocks() = default;

bool CompressedBlocks::fetch(std::uint64_t begin, std::uint64_t end, std::string& defect) {
    for (std::uint64_t block = begin / table.blockBytes; block * table.blockBytes < end; ++block)
        if (!fetched[block].load(std::memory_order_acquire) && !fetchBlock(block, defect))
            return false;
    memory.use(begin, end);
    return true;
}

bool CompressedBlocks::fetchBlock(std::uint64_t block, std::string& defect) {
    const std::lock_guard<std::mutex> guard(blockLocks[block % blockLocks.size()]);
    if (fetched[block].load(std::memory_order_relaxed)) return true;
    std::unique_ptr<Worker> worker = takeWorker();
    const bool isSound = decompress(block, *worker, defect);
    if (isSound) fetched[block].store(true, std::memory_order_release);
    const std::lock_guard<std::mutex> workerGuard(workerLock);
    idleWorkers.push_back(std::move(worker)); // cannot fail: takeWorker() reserved its place
    return isSound;
}

std::unique_ptr<CompressedBlocks::Worker> CompressedBlocks::takeWorker() {
    const std::lock_guard<std::mutex> guard(workerLock);
    idleWorkers.reserve(blockLocks.size());
    if (idleWorkers.empty()) return std::make_unique<Worker>();
    std::unique_ptr<Worker> worker = std::move(idleWorkers.back());
    idleWorkers.pop_back();
    return worker;
}

bool CompressedBlocks::decompress(std::uint64_t block, Worker& worker, std::string& defect) {
    const std::uint64_t begin = block * table.blockBytes;
    const std::uint64_t end = std::min(begin + table.blockBytes, table.plainBytes);
    return memory.put(begin, end, defect,
                      [&](char* to) { return decompressTo(to, block, worker, defect); });
}

bool CompressedBlocks::decompressTo(char* to, std::uint64_t block, Worker& worker,
                                    std::string& defect) const {
    const std::uint64_t plainBytes =
        std::min(table.blockBytes, table.plainBytes - block * table.blockBytes);
    const std::uint64_t offset = table.offsets[block];
    const std::uint64_t packedBytes = table.offsets[block + 1] - offset;
    if (worker.input.size() < packedBytes) worker.input.resize(packedBytes);
    if (!ReadPiece(descriptor, worker.input.data(), packedBytes, offset, defect)) return false;
    const std::size_t result =
        ZSTD_decompressDCtx(worker.context.get(), to, plainBytes, worker.input.data(), packedBytes);
    if (!ZSTD_isError(result) && result == plainBytes) return true;
    defect = "is damaged: its compressed bytes " + std::to_string(offset) + " to " +
             std::to_string(offset + packedBytes) + " cannot be decompressed";
    if (ZSTD_isError(result)) defect += std::string(": ") + ZSTD_getErrorName(result);
    return false;
}

} // namespace OxAttribute
