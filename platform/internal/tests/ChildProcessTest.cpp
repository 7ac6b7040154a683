#include "process/ChildProcess.h"

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "TempDirectory.h"

namespace {

using namespace TellarInternal;
using std::chrono::milliseconds;
using testing::HasSubstr;

ChildProgram Shell(const std::string& script) {
    return {"/bin/sh", {"-c", script}};
}

std::string OutputOf(ChildProcess& child) {
    std::string output;
    std::array<char, 1000> buffer{};
    while (const std::size_t got = child.read(buffer.data(), buffer.size()))
        output.append(buffer.data(), got);
    return output;
}

std::string OutputOf(const ChildProgram& program) {
    ChildProcess child(program);
    return OutputOf(child);
}

std::string ReasonWhyNotStarted(const std::string& file) {
    try {
        const ChildProcess child({file, {}});
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// Runs the body in a process made by fork, in which it may change what it likes. Returns whether
/// the body returned true.
template <typename Body>
bool HoldsInAHost(Body body) {
    const pid_t host = fork();
    if (host == 0) {
        alarm(60);
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    return waitpid(host, &status, 0) == host && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(ChildProcess, GivesInputAndArgumentsAndReturnsTheOutput) {
    ChildProgram program = {"/bin/sh", {"-c", "cat; echo \"$1\"", "sh", "a b"}};
    program.input = "in ";
    ChildProcess child(program);
    EXPECT_EQ(OutputOf(child), "in a b\n");
    const ChildEnd end = child.wait();
    EXPECT_EQ(end.kind, ChildEnd::Kind::Exited);
    EXPECT_EQ(end.code, 0);
}

TEST(ChildProcess, FindsAProgramOnThePath) {
    EXPECT_EQ(OutputOf({"echo", {"found"}}), "found\n");
}

TEST(ChildProcess, ReturnsLongOutputAndTheFirstErrors) {
    ChildProcess child(Shell("yes out | head -c 3000000; yes error | head -c 3000000 >&2"));
    EXPECT_EQ(OutputOf(child).size(), 3000000u);
    child.wait();
    EXPECT_EQ(child.errors().size(), 4096u);
    EXPECT_EQ(child.errors().substr(0, 6), "error\n");
}

TEST(ChildProcess, TellsTheStatusAndTheSignal) {
    ChildProcess failing(Shell("exit 7"));
    EXPECT_EQ(failing.wait().text(), "failed with exit status 7");
    ChildProcess killed(Shell("echo part; kill -SEGV $$"));
    EXPECT_EQ(OutputOf(killed), "part\n");
    EXPECT_EQ(killed.wait().text(), "was ended by signal 11 (Segmentation fault)");
}

TEST(ChildProcess, IsKilledAtItsTimeLimit) {
    ChildProgram program = Shell("echo part; exec sleep 60");
    program.timeLimit = milliseconds(200);
    const auto start = std::chrono::steady_clock::now();
    ChildProcess silent(program);
    OutputOf(silent);
    EXPECT_EQ(silent.wait().kind, ChildEnd::Kind::TimedOut);
    program.arguments[1] = "exec sleep 60";
    ChildProcess unread(program);
    EXPECT_EQ(unread.wait().text(), "took too long");
    program.arguments[1] = "exec yes";
    ChildProcess talking(program);
    OutputOf(talking);
    EXPECT_EQ(talking.wait().kind, ChildEnd::Kind::TimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(ChildProcess, IsKilledWhenItIsUnwanted) {
    ChildProgram program = Shell("exec sleep 60");
    int questions = 0;
    program.isUnwanted = [&questions] { return ++questions > 3; };
    ChildProcess silent(program);
    EXPECT_EQ(OutputOf(silent), "");
    EXPECT_EQ(silent.wait().kind, ChildEnd::Kind::TimedOut);
}

TEST(ChildProcess, IsKilledByTheDestructor) {
    std::string number;
    {
        ChildProcess child(Shell("echo $$; exec sleep 60"));
        std::array<char, 20> buffer{};
        number.assign(buffer.data(), child.read(buffer.data(), buffer.size()));
    }
    EXPECT_EQ(::kill(std::stoi(number), 0), -1);
}

TEST(ChildProcess, SaysWhyAProgramCannotBeStarted) {
    EXPECT_EQ(ReasonWhyNotStarted("/no/such/program"), "No such file or directory");
    const TempDirectory directory;
    EXPECT_EQ(ReasonWhyNotStarted(directory.write("plain", "text")), "Permission denied");
    const std::string noProgram = directory.write("no-program", std::string("\177ELF\0", 5));
    chmod(noProgram.c_str(), 0755);
    EXPECT_EQ(ReasonWhyNotStarted(noProgram), "Exec format error");
}

TEST(ChildProcess, GetsNoOtherFileOfTheHost) {
    const int open = ::open("/dev/null", O_RDONLY); // without O_CLOEXEC
    const std::string path = "/dev/fd/" + std::to_string(open);
    EXPECT_EQ(OutputOf(Shell("test -e " + path + " && echo open || echo closed")), "closed\n");
    ::close(open);
}

TEST(ChildProcess, WorksInAHostThatHasClosedItsStandardFiles) {
    EXPECT_TRUE(HoldsInAHost([] {
        for (const int number : {0, 1, 2})
            ::close(number);
        ChildProcess child(Shell("cat; echo out; echo error >&2"));
        return OutputOf(child) == "out\n" && child.wait().code == 0 && child.errors() == "error\n";
    }));
}

TEST(ChildProcess, WorksInAHostThatIgnoresTheEndsOfItsChildren) {
    EXPECT_TRUE(HoldsInAHost([] {
        std::signal(SIGCHLD, SIG_IGN);
        ChildProcess child(Shell("echo out"));
        const bool isRead = OutputOf(child) == "out\n";
        ChildProgram slow = Shell("exec sleep 60");
        slow.timeLimit = milliseconds(100);
        return isRead && child.wait().kind == ChildEnd::Kind::Unknown &&
               ChildProcess(slow).wait().kind == ChildEnd::Kind::TimedOut;
    }));
}

TEST(ChildProcess, HasTheDefaultActionsOfSignalsAndNoneBlocked) {
    EXPECT_TRUE(HoldsInAHost([] {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGTERM, SIG_IGN);
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
        ChildProcess child(Shell("kill -TERM $$; echo alive"));
        return OutputOf(child).empty() && child.wait().code == SIGTERM;
    }));
}

TEST(ChildProcess, EndsWhileAnotherProcessKeepsItsOutputOpen) {
    const auto start = std::chrono::steady_clock::now();
    ChildProcess child(Shell("sleep 10 & echo out"));
    EXPECT_EQ(OutputOf(child), "out\n");
    EXPECT_EQ(child.wait().text(), "ended");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
}

TEST(ChildProcess, RunsInManyThreadsAtOnce) {
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([&right, number] {
            for (int round = 0; round < 5; ++round)
                right += OutputOf(Shell("echo " + std::to_string(number))) ==
                         std::to_string(number) + '\n';
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 40);
}

} // namespace
