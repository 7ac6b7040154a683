// The scene reader: a program that reads one scene file with Assimp and writes a ReaderReply to its
// standard output. ReadInChildProcess starts it.
//
//     tellar-scene-reader FILE MEBIBYTES HOST ANIMATION CONVERT
//
// MEBIBYTES is the most memory that it may use, HOST the process that starts it. ANIMATION and
// CONVERT (0 or 1) are as in ReadOptions.

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

#include <OxLoggingHost/OxLoggerGlue.h>

#include "ForeignFile.h"
#include "ReaderErrors.h"
#include "ReaderReply.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TELLAR_IS_SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TELLAR_IS_SANITIZED
#endif

#if defined(TELLAR_IS_SANITIZED)
// Read by AddressSanitizer: a fault ends the process by a signal, as in other builds. Assimp does
// not free everything when it gives up a file.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "abort_on_error=1:detect_leaks=0";
}
#endif

namespace {

using namespace TellarSceneImport;

// Sanitizers reserve more address space than any machine has memory.
#if defined(TELLAR_IS_SANITIZED)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

// The address space of the stack and of the libraries, of which little is used.
constexpr std::uint64_t kOwnMebibytes = 512;

void SetLimit(decltype(RLIMIT_CORE) resource, rlim_t limit) {
    rlimit present{};
    if (getrlimit(resource, &present) != 0) return;
    present.rlim_cur = std::min<rlim_t>(limit, present.rlim_max);
    setrlimit(resource, &present);
}

/// Keeps the faults of this process from the rest of the system.
void Restrain(std::uint64_t mebibytes, std::uint64_t host) {
    SetLimit(RLIMIT_CORE, 0);
    SetLimit(RLIMIT_FSIZE, 0); // no file is written
    if (!kIsSanitized) SetLimit(RLIMIT_AS, static_cast<rlim_t>(mebibytes + kOwnMebibytes) << 20);
    std::set_new_handler([] { _exit(kOutOfMemoryStatus); });
#if defined(__linux__)
    // If the machine runs out of memory all the same, the host must not be the one to go.
    if (const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC); file >= 0) {
        [[maybe_unused]] const ssize_t ignored = write(file, "1000", 4);
        close(file);
    }
    // A host that is killed leaves no reader behind. It may have ended already.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (static_cast<std::uint64_t>(getppid()) != host) _exit(EXIT_FAILURE);
#endif
}

/// Takes the standard output for the reply: a library that prints a line must not damage it.
int TakeOutput() {
    const int reply = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (reply < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) _exit(EXIT_FAILURE);
    return reply;
}

std::int64_t WriteTo(void* stream, const void* data, std::int64_t bytes) {
    const int file = *static_cast<const int*>(stream);
    const char* next = static_cast<const char*>(data);
    for (std::int64_t left = bytes; left > 0;) {
        const ssize_t written = write(file, next, static_cast<std::size_t>(left));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return bytes - left;
        next += written;
        left -= written;
    }
    return bytes;
}

// The limit for messages about one file, which may be damaged.
constexpr std::size_t kMostMessages = 1000;

// Collects messages of all levels: the host, which gets them, knows the thresholds.
void CollectMessages(std::vector<OxLogMessage>& messages) {
    static std::mutex lock;
    OxLoggingSetLevel("", OxLogLevel::debug);
    OxLoggingSetSink([&messages](const OxLogMessage& message) {
        const std::lock_guard<std::mutex> guard(lock);
        if (messages.size() < kMostMessages) messages.push_back(message);
    });
}

void TellOfFile(const std::string& path) {
    const std::string line = LineOfFile(path);
    int errors = STDERR_FILENO;
    WriteTo(&errors, line.data(), static_cast<std::int64_t>(line.size()));
}

ReaderReply Read(const std::string& path, const ReadOptions& options) {
    ReaderReply reply;
    CollectMessages(reply.messages);
    try {
        reply.content = ReadForeignFile(StampOf(path), options, reply.files, &TellOfFile);
    } catch (const std::bad_alloc&) {
        _exit(kOutOfMemoryStatus);
    } catch (const std::exception& error) {
        reply.error = error.what();
    } catch (...) {
        reply.error = "unknown error";
    }
    OxLoggingSetSink({});
    return reply;
}

std::uint64_t NumberIn(std::string_view text) {
    std::uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) _exit(EXIT_FAILURE);
    return number;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 6) return EXIT_FAILURE;
    ReadOptions options;
    options.animation = arguments[4];
    options.convertUnits = NumberIn(arguments[5]) != 0;
    int output = TakeOutput();
    Restrain(NumberIn(arguments[2]), NumberIn(arguments[3]));
    try {
        ToGroup(Read(arguments[1], options)).writeAttributeStream(&output, &WriteTo);
    } catch (const std::exception&) {
        _exit(EXIT_FAILURE);
    }
    // The system frees the memory faster.
    _exit(EXIT_SUCCESS);
}
