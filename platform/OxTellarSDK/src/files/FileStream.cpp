#include <OxTellarSDK/FileStream.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <zstd.h>

#include <OxTellarSDK/AttributeTypes.h>
#include <OxTellarSDK/TellarError.h>

#include "CompressedLayout.h"
#include "FileBuffer.h"
#include "MapSettings.h"
#include "NamedLogger.h"
#include "files/RegularFile.h"

namespace OxAttribute {

namespace {

const NamedLogger kLogger("FileStream");

// The limit of a decompressed file: more than any real scene needs, and small enough that a small
// hostile file cannot fill the memory.
constexpr std::uint64_t kAlwaysAllowedBytes = 64u << 20;
constexpr std::uint64_t kMaximumRatio = 2000;

struct DecompressorDeleter {
    void operator()(ZSTD_DStream* stream) const { ZSTD_freeDStream(stream); }
};

} // namespace

struct FileStream::State {
    std::string path;
    RegularFile::Pointer file;
    RegularFile::State opened;
    bool touched = false; // something was read already

    std::unique_ptr<ZSTD_DStream, DecompressorDeleter> decompressor; // null: plain
    std::vector<char> input;
    ZSTD_inBuffer unread{nullptr, 0, 0};
    bool frameOpen = false; // inside a compressed frame: the file must not end here
    std::uint64_t delivered = 0;

    [[noreturn]] void fail(const std::string& reason) const {
        throw TellarError::OfFile(path, "Cannot read file \"" + path + "\": " + reason);
    }

    std::int64_t readPlain(void* buffer, std::int64_t bytes) const {
        const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(bytes), file.get());
        if (got == 0 && std::ferror(file.get())) fail(RegularFile::ReasonOf(errno));
        return static_cast<std::int64_t>(got);
    }

    /// Opens the whole file, so that parts are read on demand. Returns an empty buffer for a small
    /// file, and for one that is compressed as a whole.
    FileBuffer openInPlace() const;
    FileBuffer openCompressed() const;

    bool refill() {
        const std::int64_t got = readPlain(input.data(), static_cast<std::int64_t>(input.size()));
        unread = {input.data(), static_cast<std::size_t>(got), 0};
        return got > 0;
    }

    std::int64_t readCompressed(void* buffer, std::int64_t bytes) {
        ZSTD_outBuffer output{buffer, static_cast<std::size_t>(bytes), 0};
        for (;;) {
            // An open frame may have more output than the last buffer could take.
            if (frameOpen || unread.pos < unread.size) {
                const std::size_t status =
                    ZSTD_decompressStream(decompressor.get(), &output, &unread);
                if (ZSTD_isError(status)) fail(ZSTD_getErrorName(status));
                frameOpen = status != 0;
                if (output.pos > 0) break;
            }
            if (unread.pos == unread.size && !refill()) {
                if (frameOpen) fail("the compressed data ends early");
                return 0;
            }
        }
        delivered += output.pos;
        if (delivered > kAlwaysAllowedBytes && delivered / kMaximumRatio > opened.bytes)
            fail("it decompresses to more than " + std::to_string(kMaximumRatio) +
                 " times its size");
        return static_cast<std::int64_t>(output.pos);
    }
};

FileStream::FileStream(const std::string& path, bool decompress)
    : state(std::make_unique<State>()) {
    state->path = path;
    std::string reason;
    state->file = RegularFile::Open(path, state->opened, reason);
    if (!state->file) state->fail(reason);
    if (!decompress) return;

    unsigned char start[sizeof kZstdMagic];
    const bool compressed = std::fread(start, 1, sizeof start, state->file.get()) == sizeof start &&
                            std::memcmp(start, kZstdMagic, sizeof start) == 0;
    std::rewind(state->file.get());
    if (!compressed) return;
    state->decompressor.reset(ZSTD_createDStream());
    if (!state->decompressor) throw std::bad_alloc();
    state->input.resize(ZSTD_DStreamInSize());
}

FileStream::~FileStream() = default;

const std::string& FileStream::getPath() const {
    return state->path;
}

void FileStream::rewind() {
    std::rewind(state->file.get());
    state->touched = false;
    if (!state->decompressor) return;
    ZSTD_DCtx_reset(state->decompressor.get(), ZSTD_reset_session_only);
    state->unread = {nullptr, 0, 0};
    state->frameOpen = false;
    state->delivered = 0;
}

std::int64_t FileStream::read(void* stream, void* buffer, std::int64_t bytes) {
    if (bytes <= 0) return 0;
    State& state = *static_cast<FileStream*>(stream)->state;
    state.touched = true;
    return state.decompressor ? state.readCompressed(buffer, bytes)
                              : state.readPlain(buffer, bytes);
}

FileBuffer FileStream::State::openInPlace() const {
#ifdef _WIN32
    return {};
#else
    if (decompressor) return openCompressed();
    if (opened.bytes <= FileBuffer::kLargeBytes) return {};
    try {
        return FileBuffer::Open(file.get(), opened, ChooseFileAccess(file.get(), opened.bytes));
    } catch (const std::runtime_error& error) {
        fail(error.what());
    }
#endif
}

FileBuffer FileStream::State::openCompressed() const {
    std::optional<CompressedTable> table;
    try {
        table = CompressedTable::Read(file.get(), opened);
    } catch (const std::runtime_error& error) {
        throw TellarError::OfFile(path, "File \"" + path + "\" " + error.what());
    }
    if (!table || table->plainBytes <= FileBuffer::kLargeBytes) return {};
    try {
        return FileBuffer::OpenCompressed(file.get(), opened, std::move(*table));
    } catch (const std::runtime_error& error) {
        fail(error.what());
    }
}

namespace {

/// Reads to the end of the stream; errors call it `name`.
FileBuffer ReadToEnd(void* stream, std::int64_t (*read)(void*, void*, std::int64_t),
                     std::uint64_t expected, const StreamName& name) {
    // One byte more than expected shows the end without a second buffer.
    FileBuffer buffer = FileBuffer::Allocate(std::max<std::uint64_t>(expected + 1, 65536));
    std::uint64_t filled = 0;
    for (;;) {
        if (filled == buffer.size()) {
            FileBuffer larger = FileBuffer::Allocate(buffer.size() * 2);
            std::memcpy(larger.data(), buffer.data(), filled);
            buffer = std::move(larger);
        }
        const std::int64_t got =
            read(stream, buffer.data() + filled, static_cast<std::int64_t>(buffer.size() - filled));
        if (got < 0 || static_cast<std::uint64_t>(got) > buffer.size() - filled)
            throw TellarError::OfFile(name.file,
                                      "Cannot read " + name.text + ": the stream failed");
        if (got == 0) break;
        filled += static_cast<std::uint64_t>(got);
    }
    buffer.shrink(filled);
    return buffer;
}

} // namespace

FileBuffer FileStreamAccess::ReadAll(void* stream, std::int64_t (*read)(void*, void*, std::int64_t),
                                     StreamName& name) {
    std::uint64_t expected = 0;
    if (read == &FileStream::read) {
        const FileStream::State& state = *static_cast<FileStream*>(stream)->state;
        name = {"File \"" + state.path + '"', state.path};
        if (!state.touched) {
            if (!state.decompressor) expected = state.opened.bytes;
            if (FileBuffer file = state.openInPlace(); file.isOpen()) {
                if (const std::string reason = file.reasonForMemory(); !reason.empty())
                    kLogger.warn("{} takes more memory than half of the limit, and is not put "
                                 "into a temporary file, because {}.",
                                 name.text, reason);
                return file;
            }
        }
    }
    return ReadToEnd(stream, read, expected, name);
}

} // namespace OxAttribute
