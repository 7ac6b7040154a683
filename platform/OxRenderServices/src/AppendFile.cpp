#include "AppendFile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace OxRenderServices {

namespace {

bool Failed(std::string& reason) {
    reason = std::generic_category().message(errno);
    return false;
}

} // namespace

bool AppendFile::open(const std::string& path, std::string& reason) {
    close();
    // With O_NONBLOCK, a named pipe without a reader is an error and does not make a renderer wait.
    descriptor = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    return isOpen() || Failed(reason);
}

void AppendFile::close() {
    if (isOpen()) ::close(descriptor);
    descriptor = -1;
}

bool AppendFile::append(std::string_view bytes, std::string& reason) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return Failed(reason);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace OxRenderServices
