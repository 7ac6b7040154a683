#include "FileBuffer.h"

#include <cerrno>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "FilePieces.h"

namespace OxAttribute {

namespace {

// The system can map a file by large pages if it begins at a multiple of their size.
constexpr std::uint64_t kLargePageBytes = std::uint64_t(2) << 20;

/// How far an address is from the next multiple of `alignment`.
std::uint64_t PaddingTo(std::uint64_t alignment, const void* address) {
    return (alignment - reinterpret_cast<std::uintptr_t>(address) % alignment) % alignment;
}

} // namespace

FileBuffer::FileBuffer(FileBuffer&& other) noexcept {
    *this = std::move(other);
}

FileBuffer& FileBuffer::operator=(FileBuffer&& other) noexcept {
    std::swap(start, other.start);
    std::swap(bytes, other.bytes);
    std::swap(allocation, other.allocation);
    std::swap(allocationBytes, other.allocationBytes);
    std::swap(descriptor, other.descriptor);
    std::swap(access, other.access);
    std::swap(openedState, other.openedState);
    std::swap(blocks, other.blocks);
    std::swap(region, other.region);
    std::swap(pages, other.pages);
    std::swap(pieces, other.pieces);
    return *this;
}

FileBuffer FileBuffer::Allocate(std::uint64_t bytes) {
    FileBuffer buffer;
    if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
    buffer.allocationBytes = kAlignment + bytes + kTailBytes;
    buffer.allocation = static_cast<char*>(std::calloc(1, buffer.allocationBytes));
    if (!buffer.allocation) throw std::bad_alloc();
    buffer.start = buffer.allocation + PaddingTo(kAlignment, buffer.allocation);
    buffer.bytes = bytes;
    return buffer;
}

void FileBuffer::onGiveBack(MappedFileMemory::Forget forget) const {
    if (pieces) return pieces->onGiveBack(std::move(forget));
    if (pages) pages->onGiveBack(std::move(forget));
}

#ifdef _WIN32

FileBuffer::~FileBuffer() {
    std::free(allocation);
}

FileBuffer FileBuffer::Open(std::FILE*, const RegularFile::State&, FileAccess) {
    throw std::runtime_error("files are not opened in place on this system");
}

FileBuffer FileBuffer::OpenCompressed(std::FILE*, const RegularFile::State&, CompressedTable) {
    throw std::runtime_error("files are not opened in place on this system");
}

bool FileBuffer::fetch(std::uint64_t, std::uint64_t, std::string&) const {
    return true;
}

bool FileBuffer::hasChanged() const {
    return false;
}

#else

namespace {

[[noreturn]] void Fail() {
    throw std::runtime_error(RegularFile::ReasonOf(errno));
}

} // namespace

FileBuffer::~FileBuffer() {
    if (!isOpen()) {
        std::free(allocation);
        return;
    }
    // Before the system may give its addresses to others.
    pages.reset();
    blocks.reset();
    pieces.reset();
    region.reset();
    if (allocation) munmap(allocation, allocationBytes);
    close(descriptor);
}

void FileBuffer::open(std::FILE* file, const RegularFile::State& state) {
    openedState = state;
    descriptor = fcntl(fileno(file), F_DUPFD_CLOEXEC, 0);
    if (!isOpen()) Fail();
}

void FileBuffer::reserve(std::uint64_t plainBytes) {
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    bytes = plainBytes;
    allocationBytes = kLargePageBytes + plainBytes + page + kTailBytes;
    void* reserved = mmap(nullptr, allocationBytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) Fail();
    allocation = static_cast<char*>(reserved);
    start = allocation + PaddingTo(kLargePageBytes, allocation);
}

FileBuffer FileBuffer::Open(std::FILE* file, const RegularFile::State& state, FileAccess access) {
    FileBuffer buffer;
    buffer.access = access;
    buffer.open(file, state);
    buffer.reserve(state.bytes);
    if (access == FileAccess::Read) {
        buffer.keepPieces();
        return buffer;
    }
    if (mmap(buffer.start, state.bytes, PROT_READ, MAP_PRIVATE | MAP_FIXED, buffer.descriptor, 0) ==
        MAP_FAILED)
        Fail();
    buffer.region = std::make_unique<MappedRegion>(buffer.start, state.bytes, buffer.descriptor);
    buffer.pages = std::make_unique<MappedFileMemory>(buffer.start, state.bytes);
    return buffer;
}

FileBuffer FileBuffer::OpenCompressed(std::FILE* file, const RegularFile::State& state,
                                      CompressedTable table) {
    FileBuffer buffer;
    buffer.open(file, state);
    buffer.reserve(table.plainBytes);
    buffer.keepPieces();
    buffer.blocks =
        std::make_unique<CompressedBlocks>(buffer.descriptor, std::move(table), *buffer.pieces);
    return buffer;
}

void FileBuffer::keepPieces() {
    pieces = std::make_unique<PieceMemory>(start, bytes);
    if (pieces->isInFile())
        region = std::make_unique<MappedRegion>(start, bytes, pieces->fileDescriptor());
}

bool FileBuffer::fetch(std::uint64_t begin, std::uint64_t end, std::string& defect) const {
    if (!isOpen()) return true;
    return pieces ? fetchPieces(begin, end, defect) : fetchPages(begin, end, defect);
}

bool FileBuffer::fetchPieces(std::uint64_t begin, std::uint64_t end, std::string& defect) const {
    if (blocks && !blocks->fetch(begin, end, defect)) {
        if (defect != kCutShort && hasChanged()) defect = kChanged;
        return false;
    }
    if (!blocks && !copy(begin, end, defect)) return false;
    if (!isLost()) return true;
    defect = "can no longer be read: its temporary copy has failed";
    return false;
}

bool FileBuffer::copy(std::uint64_t begin, std::uint64_t end, std::string& defect) const {
    if (pieces->has(begin, end)) {
        pieces->use(begin, end);
        return true;
    }
    return pieces->put(begin, end, defect, [&](char* to) {
        return ReadPiece(descriptor, to, end - begin, begin, defect);
    });
}

bool FileBuffer::fetchPages(std::uint64_t begin, std::uint64_t end, std::string& defect) const {
    pages->use(begin, end);
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        defect = "can no longer be read: " + RegularFile::ReasonOf(errno);
        return false;
    }
    const bool isLongEnough = static_cast<std::uint64_t>(status.st_size) >= end;
    if (isLongEnough && !isLost()) return true;
    defect = isLongEnough ? kChanged : kCutShort;
    return false;
}

bool FileBuffer::hasChanged() const {
    if (!isOpen()) return false;
    if (isLost()) return true;
    std::string ignored;
    const auto state = RegularFile::StateOf(descriptor, ignored);
    return !state || !(*state == openedState);
}

#endif

} // namespace OxAttribute
