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

/// A clock that starts when it is constructed.
class Stopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start = Clock::now();
};

/// The anonymous resident memory of the process in bytes, without pages of mapped files.
double GetAnonymousBytes();

/// Runs `measure` in a forked child process, whose caches are as cold as those of this process, and
/// returns its result. An exception in the child is thrown here with the same text. The process
/// must have only one thread.
std::vector<double> MeasureInChild(const std::function<std::vector<double>()>& measure);

/// The measurement of one row of the table: a Google Benchmark that reports every figure twice, as
/// the counter "<figure>" for the library and as "<figure>_tree" for the pointer tree.
class Row {
public:
    Row(const std::string& rowName, benchmark::State& benchmarkState)
        : name(rowName), state(benchmarkState) {}

    struct Seconds {
        double library = 0;
        double tree = 0;
    };
    /// Times both passes alternately, once per iteration of the benchmark. Returns the medians.
    /// Throws as verify does.
    Seconds time(const std::function<Checksum()>& library, const std::function<Checksum()>& tree);

    /// Reports `scale` times what time() returns.
    void compare(const char* figure, double scale, const std::function<Checksum()>& library,
                 const std::function<Checksum()>& tree);

    /// Throws a std::runtime_error that names the row unless both checksums are equal.
    void verify(Checksum library, const Checksum& tree) const;

    void report(const char* figure, double library, double tree);
    void report(const char* figure, double library); ///< no figure for the pointer tree
    /// Sets the benchmark's time. Only for rows that use neither time() nor compare().
    void finish(double seconds);

private:
    const std::string& name;
    benchmark::State& state;
};

/// Registers a row with Google Benchmark. `passes` is 1 for a measurement of a cold start.
void AddRow(const std::string& name, int passes, const std::function<void(Row&)>& body);

} // namespace TellarBench

#endif
