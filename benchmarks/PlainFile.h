#ifndef TELLAR_BENCH_PLAINFILE_H
#define TELLAR_BENCH_PLAINFILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace TellarBench {

// Reading and writing of files with plain system calls, to compare op files with. All functions
// throw a std::system_error that names the file.

/// Throws the current errno.
std::system_error SystemError(const std::string& what);

/// An open descriptor, closed by the destructor.
class Descriptor {
public:
    explicit Descriptor(int openDescriptor) : descriptor(openDescriptor) {}
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return descriptor; }
    void close();

private:
    int descriptor;
};

/// Returns the number of bytes read; 0 at the end of the file.
std::size_t ReadSome(int descriptor, char* buffer, std::size_t bytes, const std::string& name);
void WriteAll(int descriptor, const char* data, std::size_t bytes, const std::string& name);

/// Reads the file in pieces without keeping them and returns its size in bytes.
std::int64_t ReadThrough(const std::string& path);
std::string ReadWhole(const std::string& path);
/// Writes the file, replacing an old one.
void WriteWhole(const std::string& path, const std::string& bytes);

} // namespace TellarBench

#endif
