#include "CompressedWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include <xxhash.h>
#include <zstd.h>
#include <zstd_errors.h>

#include "BlockHash.h"
#include "CompressedLayout.h"

namespace OxAttribute {

namespace {

// Higher levels take longer and, for the values of scenes, more of the disk.
constexpr int kCompressionLevel = 1;

void Demand(std::size_t result) {
    if (!ZSTD_isError(result)) return;
    if (ZSTD_getErrorCode(result) == ZSTD_error_memory_allocation) throw std::bad_alloc();
    throw std::runtime_error(std::string("Cannot compress: ") + ZSTD_getErrorName(result));
}

} // namespace

void CompressedWriter::Deleter::operator()(ZSTD_CCtx_s* compressor) const {
    ZSTD_freeCCtx(compressor);
}

CompressedWriter::CompressedWriter(Write writeBytes)
    : write(std::move(writeBytes)), context(ZSTD_createCCtx()),
      packed(ZSTD_compressBound(kCompressedBlockBytes)) {
    if (!context) throw std::bad_alloc();
    block.reserve(kCompressedBlockBytes);
}

void CompressedWriter::append(const void* data, std::size_t bytes) {
    const char* next = static_cast<const char*>(data);
    while (bytes > 0) {
        const std::size_t part = std::min<std::size_t>(bytes, kCompressedBlockBytes - block.size());
        block.insert(block.end(), next, next + part);
        next += part;
        bytes -= part;
        if (block.size() == kCompressedBlockBytes) finishBlock();
    }
}

void CompressedWriter::finishBlock() {
    if (block.empty()) return;
    const std::size_t length = ZSTD_compressCCtx(context.get(), packed.data(), packed.size(),
                                                 block.data(), block.size(), kCompressionLevel);
    Demand(length);
    lengths.push_back(static_cast<std::uint32_t>(length));
    write(packed.data(), length);
    plainBytes += block.size();
    block.clear();
}

void CompressedWriter::finish() {
    finishBlock();
    const std::uint64_t tableBytes = lengths.size() * sizeof(std::uint32_t);
    CompressedFooter footer{};
    const std::uint64_t frameBytes = tableBytes + sizeof footer;
    if (frameBytes > UINT32_MAX)
        throw std::runtime_error("Cannot compress: there are too many blocks");
    footer.plainBytes = plainBytes;
    footer.blockBytes = kCompressedBlockBytes;
    footer.tableChecksum = HashBlock(lengths.data(), tableBytes);
    std::memcpy(footer.magic, kCompressedEndMagic, sizeof footer.magic);
    footer.footerChecksum = XXH3_64bits(&footer, offsetof(CompressedFooter, footerChecksum));
    const std::uint32_t frame[2] = {kSkippableFrameMagic, static_cast<std::uint32_t>(frameBytes)};
    write(frame, sizeof frame);
    write(lengths.data(), tableBytes);
    write(&footer, sizeof footer);
}

} // namespace OxAttribute
