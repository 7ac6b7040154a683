#ifndef OXTELLARSDK_FILEPIECES_H
#define OXTELLARSDK_FILEPIECES_H

#include <cstdint>
#include <string>

namespace OxAttribute {

constexpr const char* kCutShort =
    "can no longer be read: it has become shorter since it was opened";
constexpr const char* kChanged = "has changed since it was opened";

/// Reads `bytes` bytes of an open file from `offset` on. False when the file ends before or cannot
/// be read; `defect` then says so, as the end of a sentence that begins with the file.
bool ReadPiece(int descriptor, char* to, std::uint64_t bytes, std::uint64_t offset,
               std::string& defect);

} // namespace OxAttribute

#endif
