#include "FilePieces.h"

#include <cerrno>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "files/RegularFile.h"

namespace OxAttribute {

#ifdef _WIN32

bool ReadPiece(int, char*, std::uint64_t, std::uint64_t, std::string& defect) {
    defect = "cannot be read in pieces on this system";
    return false;
}

#else

bool ReadPiece(int descriptor, char* to, std::uint64_t bytes, std::uint64_t offset,
               std::string& defect) {
    while (bytes > 0) {
        const ssize_t got = pread(descriptor, to, bytes, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            defect =
                got == 0 ? kCutShort : "can no longer be read: " + RegularFile::ReasonOf(errno);
            return false;
        }
        to += got;
        offset += static_cast<std::uint64_t>(got);
        bytes -= static_cast<std::uint64_t>(got);
    }
    return true;
}

#endif

} // namespace OxAttribute
