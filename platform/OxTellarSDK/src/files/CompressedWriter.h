#ifndef OXTELLARSDK_COMPRESSEDWRITER_H
#define OXTELLARSDK_COMPRESSEDWRITER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct ZSTD_CCtx_s;

namespace OxAttribute {

/// Compresses bytes in blocks as they come; CompressedLayout.h has the format. It keeps one block,
/// and four bytes for each block before it. For one thread.
class CompressedWriter {
public:
    /// Takes the bytes of the compressed file, in order. It reports failures by exceptions.
    using Write = std::function<void(const void* data, std::size_t bytes)>;

    /// Throws std::bad_alloc.
    explicit CompressedWriter(Write write);

    /// Throws std::runtime_error with zstd's reason, and what `write` throws.
    void append(const void* data, std::size_t bytes);
    /// Ends the file. Nothing may be appended after that. Throws as append does.
    void finish();

private:
    struct Deleter {
        void operator()(ZSTD_CCtx_s* compressor) const;
    };

    void finishBlock();

    const Write write;
    std::unique_ptr<ZSTD_CCtx_s, Deleter> context;
    std::vector<char> block;
    std::vector<char> packed;
    std::vector<std::uint32_t> lengths;
    std::uint64_t plainBytes = 0;
};

} // namespace OxAttribute

#endif
