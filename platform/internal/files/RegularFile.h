#ifndef TELLARINTERNAL_REGULARFILE_H
#define TELLARINTERNAL_REGULARFILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

/// Reading files that users name. All our libraries open such files through these functions: they
/// refuse pipes and devices, which could block or never end, even when one takes the place of a
/// file between a check and the opening. Safe from any thread.
namespace RegularFile {

/// The identity and version of a file. Two equal states mean the same bytes, unless the file was
/// written again within the resolution of the file system's clock or its time was set back.
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

/// The system's text for an error number.
std::string ReasonOf(int error);

/// The state of the file at a path, by one question to the file system. Returns nothing unless it
/// is a regular file; `reason` then says why.
std::optional<State> StateOf(const std::string& path, std::string& reason);

/// The state of an open file, whatever its path leads to by now.
std::optional<State> StateOf(std::FILE* file, std::string& reason);
std::optional<State> StateOf(int descriptor, std::string& reason);

/// Opens the file for reading and assigns its state. Returns null unless it is a regular file;
/// `reason` then says why.
Pointer Open(const std::string& path, State& state, std::string& reason);

/// The rest of an open file of at most `limit` bytes. Returns nothing when it is longer or cannot
/// be read; `reason` then says why.
std::optional<std::string> ReadRest(std::FILE* file, std::uint64_t limit, std::string& reason);

/// The whole of a regular file of at most `limit` bytes. Returns nothing when it is not a regular
/// file, is larger or cannot be read; `reason` then says why.
std::optional<std::string> Read(const std::string& path, std::uint64_t limit, std::string& reason);

} // namespace RegularFile

#endif
