#include "files/RegularFile.h"

#include <cerrno>
#include <system_error>

#include <sys/stat.h>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace RegularFile {

namespace {

State StateIn(const struct stat& status) {
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

std::optional<State> RegularStateIn(const struct stat& status, std::string& reason) {
    if ((status.st_mode & S_IFMT) == S_IFREG) return StateIn(status);
    reason = "not a regular file";
    return std::nullopt;
}

} // namespace

std::string ReasonOf(int error) {
    return std::generic_category().message(error);
}

std::optional<State> StateOf(const std::string& path, std::string& reason) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) return RegularStateIn(status, reason);
    reason = ReasonOf(errno);
    return std::nullopt;
}

std::optional<State> StateOf(std::FILE* file, std::string& reason) {
    return StateOf(fileno(file), reason);
}

std::optional<State> StateOf(int descriptor, std::string& reason) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0) return RegularStateIn(status, reason);
    reason = ReasonOf(errno);
    return std::nullopt;
}

Pointer Open(const std::string& path, State& state, std::string& reason) {
#ifdef _WIN32
    Pointer file(std::fopen(path.c_str(), "rb"));
#else
    // O_NONBLOCK: a named pipe opens at once, and can then be told from a file.
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

std::optional<std::string> ReadRest(std::FILE* file, std::uint64_t limit, std::string& reason) {
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

std::optional<std::string> Read(const std::string& path, std::uint64_t limit, std::string& reason) {
    State state;
    const Pointer file = Open(path, state, reason);
    if (!file) return std::nullopt;
    if (state.bytes <= limit) return ReadRest(file.get(), limit, reason);
    reason = std::to_string(state.bytes) + " bytes are too many";
    return std::nullopt;
}

} // namespace RegularFile
