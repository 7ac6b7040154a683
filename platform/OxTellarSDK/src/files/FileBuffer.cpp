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

namespace OxAttribute {

namespace {

// Room for the owner's pointer that keeps the file's values aligned.
constexpr std::uint64_t kFrontBytes = 64;
// The system can map a file by large pages if it begins at a multiple of their size.
constexpr std::uint64_t kLargePageBytes = std::uint64_t(2) << 20;

constexpr const char* kCutShort = "it has become shorter since it was opened";

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
    return *this;
}

FileBuffer FileBuffer::Allocate(std::uint64_t bytes) {
    FileBuffer buffer;
    if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
    buffer.allocationBytes = kFrontBytes + kAlignment + bytes + kTailBytes;
    buffer.allocation = static_cast<char*>(std::calloc(1, buffer.allocationBytes));
    if (!buffer.allocation) throw std::bad_alloc();
    char* const behindFront = buffer.allocation + kFrontBytes;
    buffer.start = behindFront + PaddingTo(kAlignment, behindFront);
    buffer.bytes = bytes;
    return buffer;
}

#ifdef _WIN32

FileBuffer::~FileBuffer() {
    std::free(allocation);
}

FileBuffer FileBuffer::Open(std::FILE*, const RegularFile::State&, FileAccess) {
    throw std::runtime_error("files are not opened in place on this system");
}

bool FileBuffer::fetch(std::uint64_t, std::uint64_t, std::string&) const {
    return true;
}

#else

FileBuffer::~FileBuffer() {
    if (!isOpen()) {
        std::free(allocation);
        return;
    }
    if (allocation) munmap(allocation, allocationBytes);
    close(descriptor);
}

FileBuffer FileBuffer::Open(std::FILE* file, const RegularFile::State& state, FileAccess access) {
    const auto fail = [] { throw std::runtime_error(RegularFile::ReasonOf(errno)); };
    FileBuffer buffer;
    buffer.access = access;
    buffer.openedState = state;
    buffer.bytes = state.bytes;
    buffer.descriptor = fcntl(fileno(file), F_DUPFD_CLOEXEC, 0);
    if (!buffer.isOpen()) fail();

    // One anonymous page for the owner's pointer, which lies in front of the file's first byte, and
    // right behind it the file.
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    buffer.allocationBytes = page + kLargePageBytes + state.bytes + page + kTailBytes;
    void* reserved = mmap(nullptr, buffer.allocationBytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) fail();
    buffer.allocation = static_cast<char*>(reserved);
    char* const behindPage = buffer.allocation + page;
    buffer.start = behindPage + PaddingTo(kLargePageBytes, behindPage);
    if (access == FileAccess::Map &&
        mmap(buffer.start, state.bytes, PROT_READ, MAP_PRIVATE | MAP_FIXED, buffer.descriptor, 0) ==
            MAP_FAILED)
        fail();
    return buffer;
}

bool FileBuffer::fetch(std::uint64_t begin, std::uint64_t end, std::string& reason) const {
    if (!isOpen()) return true;
    if (access == FileAccess::Map) {
        struct stat status {};
        if (fstat(descriptor, &status) != 0) {
            reason = RegularFile::ReasonOf(errno);
            return false;
        }
        if (static_cast<std::uint64_t>(status.st_size) >= end) return true;
        reason = kCutShort;
        return false;
    }
    while (begin < end) {
        const ssize_t got =
            pread(descriptor, start + begin, end - begin, static_cast<off_t>(begin));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            reason = got == 0 ? kCutShort : RegularFile::ReasonOf(errno);
            return false;
        }
        begin += static_cast<std::uint64_t>(got);
    }
    return true;
}

#endif

} // namespace OxAttribute
