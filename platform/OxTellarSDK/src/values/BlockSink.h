#ifndef OXTELLARSDK_BLOCKSINK_H
#define OXTELLARSDK_BLOCKSINK_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "BlockHash.h"
#include "ContainerLayout.h"

namespace OxAttribute {

/// Takes the bytes of a file in order, computes the checksum of each block, and passes whole blocks
/// on to a StreamWrite.
class BlockSink {
public:
    BlockSink(void* stream, StreamWrite write, const std::string& name)
        : stream(stream), write(write), name(name), block(std::make_unique<char[]>(kBlockBytes)) {}

    [[noreturn]] void fail(const std::string& why) const {
        throw std::runtime_error("Cannot write " + name + ": " + why);
    }

    std::uint64_t offset() const { return passedOn + filled; }

    void append(const void* data, std::uint64_t bytes) {
        if (bytes == 0) return; // `data` may be null
        if (bytes < kBlockBytes - filled) {
            std::memcpy(block.get() + filled, data, bytes);
            filled += bytes;
        } else {
            appendAcross(static_cast<const char*>(data), bytes);
        }
    }

    /// Appends zeros until the offset has this remainder. `alignment` is 4 or 8.
    void align(std::uint64_t alignment, std::uint64_t remainder = 0) {
        const std::uint64_t zero = 0;
        if (const std::uint64_t missing = (remainder - offset()) & (alignment - 1))
            append(&zero, missing);
    }

    void finishBlock() {
        if (filled == 0) return;
        checksums.push_back(HashBlock(block.get(), filled));
        passOn(block.get(), filled);
        filled = 0;
    }

    /// Writes bytes that have no checksum.
    void passOn(const void* data, std::uint64_t bytes) {
        if (write(stream, data, static_cast<std::int64_t>(bytes)) !=
            static_cast<std::int64_t>(bytes))
            fail("not all bytes were taken");
        passedOn += bytes;
    }

    std::vector<std::uint64_t> checksums;

private:
    void appendAcross(const char* next, std::uint64_t bytes) {
        while (bytes > 0) {
            const std::uint64_t part = std::min(bytes, kBlockBytes - filled);
            std::memcpy(block.get() + filled, next, part);
            filled += part;
            next += part;
            bytes -= part;
            if (filled == kBlockBytes) finishBlock();
        }
    }

    void* stream;
    StreamWrite write;
    const std::string& name;
    std::unique_ptr<char[]> block;
    std::uint64_t filled = 0;
    std::uint64_t passedOn = 0;
};

} // namespace OxAttribute

#endif
