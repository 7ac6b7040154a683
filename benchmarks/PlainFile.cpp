#include "PlainFile.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TellarBench {

namespace {

constexpr std::size_t kPieceBytes = 1 << 20;

int Open(const std::string& path, int flags) {
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
    if (descriptor < 0) throw SystemError(path);
    return descriptor;
}

} // namespace

std::system_error SystemError(const std::string& what) {
    return std::system_error(errno, std::generic_category(), what);
}

Descriptor::~Descriptor() {
    close();
}

void Descriptor::close() {
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

std::size_t ReadSome(int descriptor, char* buffer, std::size_t bytes, const std::string& name) {
    for (;;) {
        const ssize_t got = ::read(descriptor, buffer, bytes);
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR) throw SystemError(name);
    }
}

void WriteAll(int descriptor, const char* data, std::size_t bytes, const std::string& name) {
    while (bytes > 0) {
        const ssize_t taken = ::write(descriptor, data, bytes);
        if (taken < 0 && errno != EINTR) throw SystemError(name);
        if (taken <= 0) continue;
        data += taken;
        bytes -= static_cast<std::size_t>(taken);
    }
}

std::int64_t ReadThrough(const std::string& path) {
    const Descriptor file(Open(path, O_RDONLY));
    std::vector<char> piece(kPieceBytes);
    std::int64_t bytes = 0;
    while (const std::size_t got = ReadSome(file.get(), piece.data(), piece.size(), path))
        bytes += static_cast<std::int64_t>(got);
    return bytes;
}

std::string ReadWhole(const std::string& path) {
    const Descriptor file(Open(path, O_RDONLY));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) throw SystemError(path);
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (const std::size_t got =
               ReadSome(file.get(), bytes.data() + done, bytes.size() - done, path))
        done += got;
    bytes.resize(done);
    return bytes;
}

void WriteWhole(const std::string& path, const std::string& bytes) {
    const Descriptor file(Open(path, O_WRONLY | O_CREAT | O_TRUNC));
    WriteAll(file.get(), bytes.data(), bytes.size(), path);
}

} // namespace TellarBench
