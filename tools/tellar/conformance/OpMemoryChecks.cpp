// The check that scenes leave nothing behind.
#include "OpTypeChecks.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "OpTypeUnderTest.h"

namespace TellarTool {

namespace {

constexpr int kScenes = 100;
constexpr int kMostRuns = 6; // the first one fills caches
constexpr std::size_t kMostPaths = 100;
// Less than one small object for each scene.
constexpr std::int64_t kBytesOfRun = 12 * kScenes;

/// What a process holds.
struct Holdings {
    std::int64_t bytes = 0;
    std::int64_t threads = 0;
    std::int64_t files = 0;
};

/// The number of entries of a folder of the system; 0 where there is no such folder.
std::int64_t CountEntries(const char* folder) {
    std::error_code ignored;
    std::int64_t count = 0;
    for (auto entry = std::filesystem::directory_iterator(folder, ignored);
         entry != std::filesystem::directory_iterator(); entry.increment(ignored))
        ++count;
    return count;
}

Holdings HoldingsNow() {
    Holdings now;
#if defined(__GLIBC__)
    const struct mallinfo2 heap = mallinfo2();
    now.bytes = static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
#endif
    now.threads = CountEntries("/proc/self/task");
    now.files = CountEntries("/proc/self/fd");
    return now;
}

void CookScenes(const OpCase& made) {
    for (int i = 0; i < kScenes; ++i) {
        const auto client = made.open()->getClient();
        CookAll(*client, PathsOf(*client, kMostPaths));
    }
}

/// What a hundred scenes leave behind.
Holdings Growth(const OpCase& made) {
    const Holdings first = HoldingsNow();
    CookScenes(made);
    const Holdings last = HoldingsNow();
    return {last.bytes - first.bytes, last.threads - first.threads, last.files - first.files};
}

bool IsNothing(const Holdings& growth) {
    return growth.bytes <= kBytesOfRun && growth.threads <= 0 && growth.files <= 0;
}

void ExpectNothing(const std::string& what, std::int64_t growth, std::int64_t most,
                   Verdict& verdict) {
    verdict.expect(growth <= most, what + std::to_string(growth));
}

} // namespace

void CheckNothingLeft(const Subject& subject, Verdict& verdict) {
    for (const OpCase& made : UsableCases(subject, verdict)) {
        Holdings growth = Growth(made);
        for (int run = 1; run < kMostRuns && !IsNothing(growth); ++run)
            growth = Growth(made);
        const std::string place = made.name + ", every hundred scenes leave ";
        ExpectNothing(place + "bytes: ", growth.bytes, kBytesOfRun, verdict);
        ExpectNothing(place + "threads: ", growth.threads, 0, verdict);
        ExpectNothing(place + "open files: ", growth.files, 0, verdict);
    }
}

} // namespace TellarTool
