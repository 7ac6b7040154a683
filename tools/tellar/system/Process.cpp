#include "Process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#if !defined(_WIN32)
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace TellarTool {

#if defined(_WIN32)

std::string RunProgram(const std::string& name, const std::vector<std::string>&, std::string_view) {
    throw std::runtime_error(name + ": other programs cannot be run on this system");
}

void SetEnvironment(const std::string& name, const std::string& value) {
    if (_putenv_s(name.c_str(), value.c_str()) != 0)
        throw std::runtime_error(name + ": cannot be set: " + std::strerror(errno));
}

#else

namespace {

/// A file without a name, which is deleted when it is closed. Files are used in place of pipes
/// because a full pipe would make one of the two programs wait for the other.
class ScratchFile {
public:
    explicit ScratchFile(const std::string& program) : program(program), file(std::tmpfile()) {
        if (!file) fail();
    }

    int descriptor() const { return fileno(file.get()); }

    /// Leaves the file at its first byte.
    void fill(std::string_view content) {
        if (std::fwrite(content.data(), 1, content.size(), file.get()) != content.size() ||
            std::fflush(file.get()) != 0)
            fail();
        std::rewind(file.get());
    }

    std::string readAll() {
        std::string content;
        char buffer[1 << 14];
        std::rewind(file.get());
        while (const std::size_t bytes = std::fread(buffer, 1, sizeof(buffer), file.get()))
            content.append(buffer, bytes);
        if (std::ferror(file.get()) != 0) fail();
        return content;
    }

private:
    struct Close {
        void operator()(std::FILE* open) const { std::fclose(open); }
    };

    const std::string& program;
    std::unique_ptr<std::FILE, Close> file;

    [[noreturn]] void fail() const {
        throw std::runtime_error(program + ": no temporary file: " + std::strerror(errno));
    }
};

/// The standard input, output and error of a new process.
class StandardFiles {
public:
    StandardFiles(const ScratchFile& input, const ScratchFile& output, const ScratchFile& errors) {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input.descriptor(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output.descriptor(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errors.descriptor(), STDERR_FILENO);
    }
    ~StandardFiles() { posix_spawn_file_actions_destroy(&actions); }
    StandardFiles(const StandardFiles&) = delete;
    StandardFiles& operator=(const StandardFiles&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions; }

private:
    posix_spawn_file_actions_t actions;
};

int WaitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

[[noreturn]] void Fail(const std::string& name, int status, const std::string& errors) {
    const std::string first = errors.substr(0, errors.find('\n'));
    if (!first.empty()) throw std::runtime_error(name + " failed: " + first);
    throw std::runtime_error(
        name + (WIFSIGNALED(status)
                    ? " was ended by signal " + std::to_string(WTERMSIG(status))
                    : " failed with exit status " + std::to_string(WEXITSTATUS(status))));
}

/// Returns the process id.
pid_t Spawn(const std::string& name, const std::vector<std::string>& arguments,
            const StandardFiles& files) {
    std::vector<std::string> texts = {name};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);

    pid_t process = 0;
    const int error =
        posix_spawnp(&process, name.c_str(), files.get(), nullptr, pointers.data(), environ);
    if (error == ENOENT) throw std::runtime_error("there is no program \"" + name + "\" on PATH");
    if (error != 0) throw std::runtime_error(name + ": cannot be run: " + std::strerror(error));
    return process;
}

} // namespace

std::string RunProgram(const std::string& name, const std::vector<std::string>& arguments,
                       std::string_view input) {
    ScratchFile in(name);
    ScratchFile out(name);
    ScratchFile errors(name);
    in.fill(input);
    const int status = WaitFor(Spawn(name, arguments, StandardFiles(in, out, errors)));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) Fail(name, status, errors.readAll());
    return out.readAll();
}

void SetEnvironment(const std::string& name, const std::string& value) {
    if (setenv(name.c_str(), value.c_str(), 1) != 0)
        throw std::runtime_error(name + ": cannot be set: " + std::strerror(errno));
}

#endif

bool AreLogMessagesWanted() {
    const char* const level = std::getenv("OX_LOG_LEVEL");
    return level && *level;
}

} // namespace TellarTool
