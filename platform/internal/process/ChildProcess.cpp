#include "ChildProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>

#if !defined(_WIN32)
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace TellarInternal {

#if defined(_WIN32)

ChildProcess::ChildProcess(const ChildProgram&) {
    throw std::runtime_error("other programs cannot be run on this system");
}

ChildProcess::~ChildProcess() = default;

std::size_t ChildProcess::read(char*, std::size_t) {
    return 0;
}

ChildEnd ChildProcess::wait() {
    return {};
}

void ChildProcess::kill() {}

void ChildProcess::Descriptor::reset() {}

std::string ChildEnd::text() const {
    return "ended";
}

#else

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A full pipe stops a program that writes errors without end, so they are read but not all kept.
constexpr std::size_t kErrorBytesKept = 4096;

constexpr int kPipeBytes = 1 << 20;

// The end of the output is not enough to see that the program has ended: a host that forks
// meanwhile gives its child a copy of the pipe, which then stays open.
constexpr milliseconds kLongestWait{50};

[[noreturn]] void Fail(int error) {
    throw std::system_error(error, std::generic_category());
}

[[noreturn]] void Fail() {
    Fail(errno);
}

/// The standard files of a new process; its other files are closed.
class FileActions {
public:
    FileActions() {
        if (const int error = posix_spawn_file_actions_init(&actions)) Fail(error);
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void duplicate(int from, int to) {
        if (const int error = posix_spawn_file_actions_adddup2(&actions, from, to)) Fail(error);
    }
    void openEmptyInput() {
        if (const int error =
                posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0))
            Fail(error);
    }
    // Elsewhere the program inherits the files that the host opened without O_CLOEXEC.
    void closeOthers() {
#if defined(__GLIBC__)
#if __GLIBC_PREREQ(2, 34)
        if (const int error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1))
            Fail(error);
#endif
#endif
    }
    const posix_spawn_file_actions_t* get() const {
        return &actions;
    }

private:
    posix_spawn_file_actions_t actions;
};

/// Restores the default action of every signal and unblocks all, whatever the host has set.
class DefaultSignals {
public:
    DefaultSignals() {
        if (const int error = posix_spawnattr_init(&attributes)) Fail(error);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~DefaultSignals() { posix_spawnattr_destroy(&attributes); }
    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;

    const posix_spawnattr_t* get() const { return &attributes; }

private:
    posix_spawnattr_t attributes;
};

} // namespace

std::string ChildEnd::text() const {
    switch (kind) {
    case Kind::Exited:
        return code == 0 ? "ended" : "failed with exit status " + std::to_string(code);
    case Kind::Signaled:
        return "was ended by signal " + std::to_string(code) + " (" + strsignal(code) + ')';
    case Kind::TimedOut:
        return "took too long";
    case Kind::Unknown:
        break;
    }
    return "ended in an unknown way";
}

ChildProcess::Descriptor& ChildProcess::Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
}

void ChildProcess::Descriptor::reset() {
    if (number >= 0) ::close(number);
    number = -1;
}

// A host may have closed its standard files. Their numbers would then go to our pipes, and putting
// one pipe in place would close the next one.
ChildProcess::Descriptor ChildProcess::AboveStandardFiles(int number) {
    Descriptor low(number);
    if (number > STDERR_FILENO) return low;
    Descriptor high(fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!high.isOpen()) Fail();
    return high;
}

ChildProcess::Pipe ChildProcess::MakePipe() {
    std::array<int, 2> ends{};
#if defined(__linux__)
    // In one step, so that no program that another thread starts inherits it.
    if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail();
#else
    if (pipe(ends.data()) != 0) Fail();
    for (const int end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
#endif
    Descriptor second(ends[1]);
    Pipe made;
    made.readEnd = AboveStandardFiles(ends[0]);
    const int writeEnd = fcntl(second.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (writeEnd < 0) Fail();
    made.writeEnd = Descriptor(writeEnd);
    if (fcntl(made.readEnd.get(), F_SETFL, O_NONBLOCK) != 0) Fail();
#if defined(F_SETPIPE_SZ)
    fcntl(made.readEnd.get(), F_SETPIPE_SZ, kPipeBytes); // fewer switches; may be refused
#endif
    return made;
}

// A file instead of a pipe, because a program that reads no input would let a pipe fill up.
ChildProcess::Descriptor ChildProcess::FileWith(std::string_view content) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
    if (!file) Fail();
    if (std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() ||
        std::fflush(file.get()) != 0)
        Fail();
    std::rewind(file.get());
    Descriptor copy(fcntl(fileno(file.get()), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.isOpen()) Fail();
    return copy;
}

ChildProcess::ChildProcess(const ChildProgram& program) {
    const Descriptor input = program.input.empty() ? Descriptor() : FileWith(program.input);
    Pipe outputPipe = MakePipe();
    Pipe errorPipe = MakePipe();
    if (program.timeLimit) deadline = steady_clock::now() + *program.timeLimit;
    isUnwanted = program.isUnwanted;
    start(program, input, outputPipe.writeEnd, errorPipe.writeEnd);
    outputFile = std::move(outputPipe.readEnd);
    errorFile = std::move(errorPipe.readEnd);
}

void ChildProcess::start(const ChildProgram& program, const Descriptor& input,
                         const Descriptor& output, const Descriptor& errorFile) {
    std::vector<std::string> texts = {program.file};
    texts.insert(texts.end(), program.arguments.begin(), program.arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);

    FileActions files;
    if (input.isOpen())
        files.duplicate(input.get(), STDIN_FILENO);
    else
        files.openEmptyInput();
    files.duplicate(output.get(), STDOUT_FILENO);
    files.duplicate(errorFile.get(), STDERR_FILENO);
    files.closeOthers();
    const DefaultSignals signals;
    pid_t started = 0;
    const int error = posix_spawnp(&started, program.file.c_str(), files.get(), signals.get(),
                                   pointers.data(), environ);
    if (error != 0) Fail(error);
    process = started;
}

ChildProcess::~ChildProcess() {
    kill();
}

void ChildProcess::kill() {
    if (hasEnded()) return;
    // The number still belongs to this child until its status is collected.
    ::kill(static_cast<pid_t>(process), SIGKILL);
    int status = 0;
    while (waitpid(static_cast<pid_t>(process), &status, 0) < 0 && errno == EINTR) {
    }
    end = ChildEnd{ChildEnd::Kind::Signaled, SIGKILL};
}

void ChildProcess::killIfLate() {
    const bool isLate = deadline && steady_clock::now() >= *deadline;
    if (!(isLate || (isUnwanted && isUnwanted())) || hasEnded()) return;
    kill();
    end = ChildEnd{ChildEnd::Kind::TimedOut, 0};
}

bool ChildProcess::hasEnded() {
    if (end || process < 0) return true;
    int status = 0;
    const pid_t result = waitpid(static_cast<pid_t>(process), &status, WNOHANG);
    if (result == 0 || (result < 0 && errno == EINTR)) return false;
    if (result < 0)
        end = ChildEnd{};
    else if (WIFSIGNALED(status))
        end = ChildEnd{ChildEnd::Kind::Signaled, WTERMSIG(status)};
    else
        end = ChildEnd{ChildEnd::Kind::Exited, WEXITSTATUS(status)};
    return true;
}

// Returns 0 when nothing can be read at present, and closes the file at its end.
std::size_t ChildProcess::readNow(Descriptor& from, char* buffer, std::size_t bytes) {
    if (!from.isOpen()) return 0;
    ssize_t got = 0;
    do {
        got = ::read(from.get(), buffer, bytes);
    } while (got < 0 && errno == EINTR);
    if (got > 0) return static_cast<std::size_t>(got);
    if (got < 0 && errno == EAGAIN) return 0;
    if (got < 0) Fail();
    from.reset();
    return 0;
}

void ChildProcess::takeErrors() {
    std::array<char, 4096> buffer{};
    // Bounded, so that a program that writes errors without end cannot keep this thread here.
    for (int round = 0; round < 16; ++round) {
        const std::size_t got = readNow(errorFile, buffer.data(), buffer.size());
        if (got == 0) return;
        errorText.append(buffer.data(), std::min(got, kErrorBytesKept - errorText.size()));
    }
}

void ChildProcess::waitForOutput() {
    std::array<pollfd, 2> files = {pollfd{outputFile.get(), POLLIN, 0},
                                   pollfd{errorFile.get(), POLLIN, 0}};
    auto longest = kLongestWait;
    if (deadline) {
        const auto left = std::chrono::duration_cast<milliseconds>(*deadline - steady_clock::now());
        longest = std::clamp(left, milliseconds(0), kLongestWait);
    }
    if (poll(files.data(), files.size(), static_cast<int>(longest.count())) < 0 && errno != EINTR)
        Fail();
    takeErrors();
}

std::size_t ChildProcess::read(char* buffer, std::size_t bytes) {
    while (outputFile.isOpen()) {
        killIfLate();
        // Asked before reading, so that nothing is lost that was written before the end.
        const bool isOver = hasEnded();
        if (isOver && end->kind == ChildEnd::Kind::TimedOut) return 0;
        if (const std::size_t got = readNow(outputFile, buffer, bytes)) return got;
        if (isOver) return 0;
        if (outputFile.isOpen()) waitForOutput();
    }
    return 0;
}

ChildEnd ChildProcess::wait() {
    outputFile.reset();
    auto pause = milliseconds(1);
    while (!hasEnded()) {
        takeErrors();
        killIfLate();
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, kLongestWait);
    }
    takeErrors();
    return *end;
}

#endif

} // namespace TellarInternal
