#include "FileBuffer.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#ifndef _WIN32
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace OxAttribute {

namespace {

// Room for the owner's pointer that keeps the file's values aligned.
constexpr std::uint64_t kFrontBytes = 64;
// A file that begins at a multiple of it can be mapped by large pages, where the system keeps it in
// such.
constexpr std::uint64_t kLargePageBytes = std::uint64_t(2) << 20;

} // namespace

FileBuffer::FileBuffer(FileBuffer&& other) noexcept
    : start(std::exchange(other.start, nullptr)), bytes(std::exchange(other.bytes, 0)),
      allocation(std::exchange(other.allocation, nullptr)),
      allocationBytes(std::exchange(other.allocationBytes, 0)),
      mapped(std::exchange(other.mapped, false)),
      mappedIdentity(std::exchange(other.mappedIdentity, Identity())) {}

FileBuffer& FileBuffer::operator=(FileBuffer&& other) noexcept {
    std::swap(start, other.start);
    std::swap(bytes, other.bytes);
    std::swap(allocation, other.allocation);
    std::swap(allocationBytes, other.allocationBytes);
    std::swap(mapped, other.mapped);
    std::swap(mappedIdentity, other.mappedIdentity);
    return *this;
}

FileBuffer FileBuffer::Allocate(std::uint64_t bytes) {
    FileBuffer buffer;
    buffer.allocationBytes = bytes + kFrontBytes;
    buffer.allocation = static_cast<char*>(std::calloc(1, buffer.allocationBytes));
    if (!buffer.allocation) throw std::bad_alloc();
    buffer.start = buffer.allocation + kFrontBytes;
    buffer.bytes = bytes;
    return buffer;
}

#ifdef _WIN32

FileBuffer::~FileBuffer() {
    std::free(allocation);
}

FileBuffer FileBuffer::Map(int, std::uint64_t) {
    throw std::runtime_error("files are not mapped on this system");
}

#else

FileBuffer::~FileBuffer() {
    if (isMapped())
        munmap(allocation, allocationBytes);
    else
        std::free(allocation);
}

FileBuffer FileBuffer::Map(int descriptor, std::uint64_t bytes) {
    struct stat status {};
    const auto fail = [] { throw std::runtime_error(std::strerror(errno)); };
    if (fstat(descriptor, &status) != 0) fail();

    // One anonymous page, and right behind it the file: the owner's pointer lies in front
    // of the file's first byte without a byte of the file being copied.
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const std::uint64_t total = page + bytes + kLargePageBytes;
    void* reserved =
        mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (reserved == MAP_FAILED) fail();
    const auto afterPage = reinterpret_cast<std::uintptr_t>(reserved) + page;
    const std::uint64_t padding = (kLargePageBytes - afterPage % kLargePageBytes) % kLargePageBytes;
    char* start = static_cast<char*>(reserved) + page + padding;
    if (mmap(start, bytes, PROT_READ, MAP_PRIVATE | MAP_FIXED, descriptor, 0) == MAP_FAILED) {
        const int reason = errno;
        munmap(reserved, total);
        errno = reason;
        fail();
    }
    FileBuffer buffer;
    buffer.start = start;
    buffer.bytes = bytes;
    buffer.allocation = static_cast<char*>(reserved);
    buffer.allocationBytes = total;
    buffer.mapped = true;
    buffer.mappedIdentity = {static_cast<std::uint64_t>(status.st_dev),
                             static_cast<std::uint64_t>(status.st_ino), bytes,
                             static_cast<std::int64_t>(status.st_mtim.tv_sec),
                             static_cast<std::int64_t>(status.st_mtim.tv_nsec)};
    return buffer;
}

#endif

} // namespace OxAttribute
