#include "Measure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "PlainFile.h"

namespace TellarBench {

namespace {

std::string ReadAll(int descriptor) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const std::size_t got = ReadSome(descriptor, buffer, sizeof(buffer), "child process");
        if (got == 0) return text;
        text.append(buffer, got);
    }
}

/// Runs the child and exits without the parent's exit handlers.
[[noreturn]] void RunChild(int descriptor, const std::function<std::vector<double>()>& measure) {
    int status = 1;
    std::ostringstream answer;
    answer.precision(17);
    try {
        for (const double figure : measure())
            answer << figure << ' ';
        status = 0;
    } catch (const std::exception& error) {
        answer.str(error.what());
    }
    try {
        const std::string text = answer.str();
        WriteAll(descriptor, text.data(), text.size(), "parent process");
    } catch (const std::exception&) {
        status = 1; // the parent has gone and cannot read the reason
    }
    std::_Exit(status);
}

} // namespace

Options& GetOptions() {
    static auto* const options = new Options;
    return *options;
}

double GetAnonymousBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes = 0;
        if (word == "RssAnon:" && status >> kilobytes) return kilobytes * 1024;
    }
    throw std::runtime_error("/proc/self/status: says no RssAnon");
}

std::vector<double> MeasureInChild(const std::function<std::vector<double>()>& measure) {
    int ends[2];
    if (::pipe(ends) != 0) throw SystemError("pipe");
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) throw SystemError("fork");
    if (child == 0) RunChild(writeEnd.get(), measure);
    writeEnd.close();
    const std::string answer = ReadAll(readEnd.get());
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) throw SystemError("waitpid");
    if (WIFSIGNALED(status))
        throw std::runtime_error("the child process died of signal " +
                                 std::to_string(WTERMSIG(status)));
    if (WEXITSTATUS(status) != 0) throw std::runtime_error(answer);

    std::vector<double> figures;
    std::istringstream text(answer);
    for (double figure = 0; text >> figure;)
        figures.push_back(figure);
    return figures;
}

namespace {

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

Row::Seconds Row::time(const std::function<Checksum()>& library,
                       const std::function<Checksum()>& tree) {
    std::vector<double> librarySeconds;
    std::vector<double> treeSeconds;
    for (auto _ : state) {
        const Stopwatch libraryWatch;
        const Checksum librarySum = library();
        const double seconds = libraryWatch.seconds();
        const Stopwatch treeWatch;
        const Checksum treeSum = tree();
        treeSeconds.push_back(treeWatch.seconds());
        librarySeconds.push_back(seconds);
        state.SetIterationTime(seconds);
        verify(librarySum, treeSum);
    }
    return {Median(librarySeconds), Median(treeSeconds)};
}

void Row::compare(const char* figure, double scale, const std::function<Checksum()>& library,
                  const std::function<Checksum()>& tree) {
    const Seconds seconds = time(library, tree);
    report(figure, seconds.library * scale, seconds.tree * scale);
}

void Row::verify(Checksum library, const Checksum& tree) const {
    if (GetOptions().spoilChecksum) ++library.value;
    if (library == tree) return;
    std::ostringstream text;
    text << name << ": wrong checksum: the library read " << library.locations << " items that sum "
         << "to " << std::hex << library.value << ", the pointer tree " << std::dec
         << tree.locations << " that sum to " << std::hex << tree.value;
    throw std::runtime_error(text.str());
}

void Row::report(const char* figure, double library, double tree) {
    report(figure, library);
    state.counters[std::string(figure) + "_tree"] = tree;
}

void Row::report(const char* figure, double library) {
    state.counters[figure] = library;
}

void Row::finish(double seconds) {
    for (auto _ : state)
        state.SetIterationTime(seconds);
}

void AddRow(const std::string& name, int passes, const std::function<void(Row&)>& body) {
    const auto run = [name, body](benchmark::State& state) {
        Row row(name, state);
        body(row);
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Iterations(passes)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace TellarBench
