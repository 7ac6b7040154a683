#include "PieceMemory.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

#ifndef _WIN32
#include <sys/mman.h>
#endif

#include <OxTellarSDK/MemoryBudget.h>

#include "MapSettings.h"
#include "files/RegularFile.h"

namespace OxAttribute {

namespace {

class HeldFilesCache final : public OxTellarMemory::Cache {
public:
    HeldFilesCache() : Cache("pieces of files") {}
    std::uint64_t drop(std::uint32_t, std::uint64_t) override { return 0; }
};

HeldFilesCache& GetHeldFilesCache() {
    static auto* const cache = new HeldFilesCache;
    return *cache;
}

// Smaller files take no file descriptor more.
constexpr std::uint64_t kSmallBytes = 1u << 20;

} // namespace

PieceMemory::PieceMemory(char* start, std::uint64_t bytes)
    : start(start), bytes(bytes), file(makeFile()),
      isUsed(std::make_unique<std::atomic<bool>[]>(bytes / kPieceBytes + 1)) {
    GetHeldFilesCache(); // memory may fail here, but not when bytes are counted
    if (!file.isOpen()) return;
#ifndef _WIN32
    if (mmap(start, bytes, PROT_READ, MAP_SHARED | MAP_FIXED, fileDescriptor(), 0) == MAP_FAILED)
        throw std::runtime_error(RegularFile::ReasonOf(errno));
#endif
    if (!isOnDisk) return;
    filledBytes = std::make_unique<std::atomic<std::uint32_t>[]>(bytes / kPieceBytes + 1);
    pages = std::make_unique<MappedFileMemory>(start, bytes);
    onGiveBack({});
}

/// Closed if the bytes are to be put into plain memory.
TemporaryFile PieceMemory::makeFile() {
    if (bytes < kSmallBytes) return {};
    if (bytes > OxTellarMemory::GetMemoryLimit() / 2) {
        if (!MayHandleBusErrors()) {
            reason = "HANDLE_BUS_ERRORS is 0";
        } else if (TemporaryFile made = TemporaryFile::Make(bytes, reason); made.isOpen()) {
            isOnDisk = true;
            return made;
        }
    }
    return TemporaryFile::MakeInMemory(bytes);
}

PieceMemory::~PieceMemory() {
    const std::uint64_t used = usedPieces.load(std::memory_order_relaxed);
    GetHeldFilesCache().removed(used * kPieceBytes, used);
}

void PieceMemory::use(std::uint64_t begin, std::uint64_t end) noexcept {
    for (std::uint64_t piece = begin / kPieceBytes; piece * kPieceBytes < end; ++piece) {
        if (isUsed[piece].load(std::memory_order_relaxed) ||
            isUsed[piece].exchange(true, std::memory_order_relaxed))
            continue;
        if (pages) {
            pages->use(piece * kPieceBytes, std::min(bytes, (piece + 1) * kPieceBytes));
            continue;
        }
        usedPieces.fetch_add(1, std::memory_order_relaxed);
        GetHeldFilesCache().added(kPieceBytes);
    }
}

bool PieceMemory::has(std::uint64_t begin, std::uint64_t end) const noexcept {
    if (!isOnDisk) return false;
    for (std::uint64_t piece = begin / kPieceBytes; piece * kPieceBytes < end; ++piece) {
        const std::uint64_t wanted = std::min(end - piece * kPieceBytes, kPieceBytes);
        if (filledBytes[piece].load(std::memory_order_acquire) < wanted) return false;
    }
    return true;
}

void PieceMemory::setFilled(std::uint64_t begin, std::uint64_t end) noexcept {
    for (std::uint64_t piece = (begin + kPieceBytes - 1) / kPieceBytes; piece * kPieceBytes < end;
         ++piece) {
        const std::uint64_t filled = std::min(end - piece * kPieceBytes, kPieceBytes);
        filledBytes[piece].store(static_cast<std::uint32_t>(filled), std::memory_order_release);
    }
}

void PieceMemory::onGiveBack(MappedFileMemory::Forget function) {
    if (!pages) return;
    pages->onGiveBack([this, next = std::move(function)](std::uint64_t begin, std::uint64_t end) {
        forget(begin, end);
        if (next) next(begin, end);
    });
}

/// A run that is given back holds whole pieces.
void PieceMemory::forget(std::uint64_t begin, std::uint64_t end) noexcept {
    for (std::uint64_t piece = begin / kPieceBytes; piece * kPieceBytes < end; ++piece)
        isUsed[piece].store(false, std::memory_order_relaxed);
}

} // namespace OxAttribute
