#ifndef TELLARINTERNAL_CHILDPROCESS_H
#define TELLARINTERNAL_CHILDPROCESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TellarInternal {

/// A program and what it is given.
struct ChildProgram {
    /// A path, or a name without a slash, which is looked up on PATH.
    std::string file;
    std::vector<std::string> arguments;
    /// The content of its standard input.
    std::string_view input = {};
    /// The longest time from start to end; none by default.
    std::optional<std::chrono::milliseconds> timeLimit = {};
    /// Asked now and then while the caller waits: true ends the program at once. May be empty.
    std::function<bool()> isUnwanted = {};
};

/// How a child process ended.
struct ChildEnd {
    enum class Kind {
        Exited,   ///< ended itself with the status `code`
        Signaled, ///< ended by the signal `code`
        TimedOut, ///< killed at its time limit, or when it was unwanted
        Unknown   ///< the host collected its status, or ignores the ends of its children
    };

    Kind kind = Kind::Unknown;
    int code = 0;

    bool isSuccess() const { return kind == Kind::Exited && code == 0; }

    /// "was ended by signal 11 (Segmentation fault)", for example.
    std::string text() const;
};

/// A running program of which the standard output is read. Its standard error is collected.
///
/// The program gets no other open file of this process, and starts with the default action for
/// every signal and with no signal blocked. Nothing is changed in this process, which may have many
/// threads, fork, ignore the ends of its children, or have closed its standard files. For one
/// thread at a time.
class ChildProcess {
public:
    /// Starts the program. Throws std::system_error with the system's reason.
    explicit ChildProcess(const ChildProgram& program);
    /// Kills the program if it is still running.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for output and returns how many bytes were read, at most `bytes`. Returns 0 when the
    /// output has ended or the program was killed at its time limit. Throws std::system_error when
    /// reading fails.
    std::size_t read(char* buffer, std::size_t bytes);

    /// Waits for the end, without reading more output, and says how the program ended. It is killed
    /// at its time limit.
    ChildEnd wait();

    /// Ends the program at once.
    void kill();

    /// The first kilobytes of the standard error.
    const std::string& errors() const { return errorText; }

private:
    /// An open file, closed by the destructor.
    class Descriptor {
    public:
        Descriptor() = default;
        explicit Descriptor(int number) : number(number) {}
        ~Descriptor() { reset(); }
        Descriptor(Descriptor&& other) noexcept : number(other.number) { other.number = -1; }
        Descriptor& operator=(Descriptor&& other) noexcept;
        bool isOpen() const { return number >= 0; }
        int get() const { return number; }
        void reset();

    private:
        int number = -1;
    };

    struct Pipe {
        Descriptor readEnd;
        Descriptor writeEnd;
    };

    static Descriptor AboveStandardFiles(int number);
    static Pipe MakePipe();
    static Descriptor FileWith(std::string_view content);

    void start(const ChildProgram& program, const Descriptor& input, const Descriptor& output,
               const Descriptor& errorFile);
    void waitForOutput();
    void takeErrors();
    std::size_t readNow(Descriptor& from, char* buffer, std::size_t bytes);
    bool hasEnded();
    void killIfLate();

    std::int64_t process = -1;
    std::optional<std::chrono::steady_clock::time_point> deadline;
    std::function<bool()> isUnwanted;
    Descriptor outputFile;
    Descriptor errorFile;
    std::string errorText;
    std::optional<ChildEnd> end;
};

} // namespace TellarInternal

#endif
