// Reads any bytes as a file that is compressed in blocks.
//
// Hardly any input has valid checksums, so the bytes are read a second time with corrected ones.
// What is accepted must be the same as what a decoder of zstd makes of the file.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/FileStream.h>
#include <xxhash.h>

#include "Check.h"
#include "CompressedLayout.h"

using namespace OxAttribute;

namespace {

/// A file in memory, which has a path as long as this object lives.
class MemoryFile {
public:
    explicit MemoryFile(const std::string& bytes) : descriptor(memfd_create("input", 0)) {
        Check(descriptor >= 0 && write(descriptor, bytes.data(), bytes.size()) ==
                                     static_cast<ssize_t>(bytes.size()),
              "a file can be written");
    }
    ~MemoryFile() { close(descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
    const int descriptor;
};

/// The value in a file, read in blocks or decompressed as a whole; invalid if it is refused.
Attribute Read(const std::string& path, StreamRead read) {
    try {
        FileStream stream(path, true);
        return Attribute::readAttributeStream(&stream, read, 0);
    } catch (const std::runtime_error&) {
        return {}; // the expected error for a damaged file
    }
}

/// Not known as the function of a FileStream, so the file is decompressed as a whole.
std::int64_t ReadThrough(void* stream, void* buffer, std::int64_t bytes) {
    return FileStream::read(stream, buffer, bytes);
}

void UseFile(const std::string& bytes) {
    const MemoryFile file(bytes);
    const Attribute inBlocks = Read(file.path(), &FileStream::read);
    if (!inBlocks.isValid()) return;
    Hash hash;
    try {
        hash = inBlocks.getHash();
    } catch (const std::runtime_error&) {
        return; // damage that is found when all of it is read
    }
    const Attribute whole = Read(file.path(), &ReadThrough);
    Check(!whole.isValid() || whole.getHash() == hash, "a value does not depend on how it is read");
}

std::string Repaired(std::string bytes) {
    CompressedFooter footer;
    if (bytes.size() < sizeof footer) return bytes;
    const std::size_t end = bytes.size() - sizeof footer;
    std::memcpy(&footer, &bytes[end], sizeof footer);
    const std::uint64_t blocks =
        footer.blockBytes == 0
            ? 0
            : footer.plainBytes / footer.blockBytes + (footer.plainBytes % footer.blockBytes != 0);
    if (blocks <= end / 4) footer.tableChecksum = XXH3_64bits(&bytes[end - blocks * 4], blocks * 4);
    std::memcpy(footer.magic, kCompressedEndMagic, sizeof footer.magic);
    footer.footerChecksum = XXH3_64bits(&footer, offsetof(CompressedFooter, footerChecksum));
    std::memcpy(&bytes[end], &footer, sizeof footer);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    UseFile(bytes);
    UseFile(Repaired(bytes));
    return 0;
}
