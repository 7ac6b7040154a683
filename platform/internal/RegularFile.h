#ifndef TELLAR_PLATFORM_REGULARFILE_H
#define TELLAR_PLATFORM_REGULARFILE_H

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <sys/stat.h>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

/// Reading files that others name. All platform libraries open files through these functions, so
/// that nobody waits for the other end of a pipe or reads a device without end, even when one takes
/// the place of a file between two looks at it. Safe from any thread.
namespace RegularFile {

/// Which file lies under a path, and which version of it. Two equal states mean the same bytes,
/// unless somebody wrote within the resolution of the file system's clock or set the time back.
struct State {
    std::uint64_t device = 0, file = 0, bytes = 0;
    std::int64_t modifiedSeconds = 0, modifiedNanoseconds = 0;

    bool operator==(const State& other) const {
        return file == other.file && device == other.device && bytes == other.bytes &&
               modifiedSeconds == other.modifiedSeconds &&
               modifiedNanoseconds == other.modifiedNanoseconds;
    }
};

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Pointer = std::unique_ptr<std::FILE, Closer>;

/// The system's text for an error number, in the classic locale.
inline std::string ReasonOf(int error) {
    return std::generic_category().message(error);
}

namespace Detail {

inline State StateOf(const struct stat& status) {
    State state;
    state.device = static_cast<std::uint64_t>(status.st_dev);
    state.file = static_cast<std::uint64_t>(status.st_ino);
    state.bytes = static_cast<std::uint64_t>(status.st_size);
#ifdef _WIN32
    state.modifiedSeconds = status.st_mtime;
#else
    state.modifiedSeconds = status.st_mtim.tv_sec;
    state.modifiedNanoseconds = status.st_mtim.tv_nsec;
#endif
    return state;
}

inline std::optional<State> RegularStateOf(const struct stat& status, std::string& reason) {
    if ((status.st_mode & S_IFMT) == S_IFREG) return StateOf(status);
    reason = "not a regular file";
    return std::nullopt;
}

} // namespace Detail

/// The state of what lies under the path, by one question to the file system. Nothing unless that
/// is a regular file; `reason` then says why.
inline std::optional<State> StateOf(const std::string& path, std::string& reason) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) return Detail::RegularStateOf(status, reason);
    reason = ReasonOf(errno);
    return std::nullopt;
}

/// The same of an open file, whatever its path leads to by now.
inline std::optional<State> StateOf(std::FILE* file, std::string& reason) {
    struct stat status {};
    if (fstat(fileno(file), &status) == 0) return Detail::RegularStateOf(status, reason);
    reason = ReasonOf(errno);
    return std::nullopt;
}

/// The file, opened for reading, and its state. Null unless it is a regular file; `reason` then
/// says why.
inline Pointer Open(const std::string& path, State& state, std::string& reason) {
#ifdef _WIN32
    Pointer file(std::fopen(path.c_str(), "rb"));
#else
    // O_NONBLOCK: a named pipe is opened at once, so that it can be told from a file.
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    Pointer file(descriptor < 0 ? nullptr : fdopen(descriptor, "rb"));
    if (!file && descriptor >= 0) close(descriptor);
#endif
    if (!file) {
        reason = ReasonOf(errno);
        return nullptr;
    }
    const std::optional<State> found = StateOf(file.get(), reason);
    if (!found) return nullptr;
    state = *found;
    return file;
}

/// The rest of an open file of at most `limit` bytes. Nothing when it is longer or cannot be read;
/// `reason` then says why.
inline std::optional<std::string> ReadRest(std::FILE* file, std::uint64_t limit,
                                           std::string& reason) {
    std::string content;
    char piece[16 * 1024];
    while (const std::size_t got = std::fread(piece, 1, sizeof piece, file)) {
        content.append(piece, got);
        if (content.size() <= limit) continue;
        reason = "more than " + std::to_string(limit) + " bytes are too many";
        return std::nullopt;
    }
    if (!std::ferror(file)) return content;
    reason = ReasonOf(errno);
    return std::nullopt;
}

/// The whole of a regular file of at most `limit` bytes. Nothing when it is none, is larger or
/// cannot be read; `reason` then says why.
inline std::optional<std::string> Read(const std::string& path, std::uint64_t limit,
                                       std::string& reason) {
    State state;
    const Pointer file = Open(path, state, reason);
    if (!file) return std::nullopt;
    if (state.bytes <= limit) return ReadRest(file.get(), limit, reason);
    reason = std::to_string(state.bytes) + " bytes are too many";
    return std::nullopt;
}

} // namespace RegularFile

#endif
