#ifndef TELLAR_BENCH_PLAINFILE_H
#define TELLAR_BENCH_PLAINFILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace TellarBench {

// Files read and written with nothing but the system's own calls: the yardstick for op files. All
// throw std::system_error naming the file.

/// Of errno, just set.
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

/// 0 at the end.
std::size_t ReadSome(int descriptor, char* buffer, std::size_t bytes, const std::string& name);
void WriteAll(int descriptor, const char* data, std::size_t bytes, const std::string& name);

/// Reads the file piece by piece, keeping nothing, and returns how many bytes it has.
std::int64_t ReadThrough(const std::string& path);
std::string ReadWhole(const std::string& path);
/// Replaces the file if there is one.
void WriteWhole(const std::string& path, const std::string& bytes);

} // namespace TellarBench

#endif
