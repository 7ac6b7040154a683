#ifndef TELLAR_BENCH_MEASURE_H
#define TELLAR_BENCH_MEASURE_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Checksum.h"

namespace benchmark {
class State;
}

namespace TellarBench {

struct Options {
    std::int64_t leaves = 100000;
    std::string scenes = "scenes"; ///< the folder of the scene files
    bool prepare = false;          ///< make the scene files and stop
    bool spoilChecksum = false;    ///< change the library's checksums: every row must fail
};

/// Set by main before any row runs.
Options& GetOptions();

/// Seconds since it was made.
class Stopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start = Clock::now();
};

/// The process's anonymous resident memory in bytes. Pages of mapped files do not count.
double GetAnonymousBytes();

/// Runs `measure` in a forked child process, which starts as cold as this process is, and returns
/// what it returned. An exception in the child is thrown here with the same text. For a process
/// with one thread.
std::vector<double> MeasureInChild(const std::function<std::vector<double>()>& measure);

/// One row of the table while it is being measured: a Google Benchmark that reports every figure
/// twice, as counter "<figure>" for the library and "<figure>_tree" for the pointer tree.
class Row {
public:
    Row(const std::string& rowName, benchmark::State& benchmarkState)
        : name(rowName), state(benchmarkState) {}

    /// Times both passes in turn, as often as the benchmark has iterations, and reports the
    /// medians of `scale` times the seconds. Throws as verify does.
    void compare(const char* figure, double scale, const std::function<Checksum()>& library,
                 const std::function<Checksum()>& tree);

    /// Throws std::runtime_error naming the row unless both are the same.
    void verify(Checksum library, const Checksum& tree) const;

    void report(const char* figure, double library, double tree);
    void report(const char* figure, double library); ///< without a yardstick
    /// Of a row that did not use compare: tells Google Benchmark how long it took.
    void finish(double seconds);

private:
    const std::string& name;
    benchmark::State& state;
};

/// Registers a row with Google Benchmark. `passes` is 1 for what is cold only once.
void AddRow(const std::string& name, int passes, const std::function<void(Row&)>& body);

} // namespace TellarBench

#endif
