#ifndef OXTELLARSDK_TEMPORARYFILE_H
#define OXTELLARSDK_TEMPORARYFILE_H

#include <cstdint>
#include <string>

namespace OxAttribute {

/// An open file that nobody else can open and that goes when it is closed. For any number of
/// threads.
class TemporaryFile {
public:
    /// A file of so many bytes, none of which takes room on the disk yet. It lies in the folder of
    /// the configuration key TEMPORARY_FOLDER, or else in the system's folder for temporary files
    /// or in /var/tmp, whichever is on a disk and has room for all of the bytes. Closed if there is
    /// no such folder; `defect` then says so, as a sentence without its end.
    static TemporaryFile Make(std::uint64_t bytes, std::string& defect);

    /// The same in memory, where writing puts bytes into new pages that need not be cleared before.
    /// Closed if the system has no such files, or the process may not make one of that size.
    static TemporaryFile MakeInMemory(std::uint64_t bytes) noexcept;

    TemporaryFile() = default;
    TemporaryFile(TemporaryFile&& other) noexcept;
    TemporaryFile& operator=(TemporaryFile&& other) noexcept;
    ~TemporaryFile();

    /// False when the disk or the memory is full or fails; `defect` then says so, as the end of a
    /// sentence that begins with the file whose bytes they are.
    bool write(const char* from, std::uint64_t bytes, std::uint64_t offset,
               std::string& defect) const;

    bool isOpen() const { return descriptor >= 0; }
    int fileDescriptor() const { return descriptor; }

private:
    int descriptor = -1;
    std::string folder;
};

} // namespace OxAttribute

#endif
