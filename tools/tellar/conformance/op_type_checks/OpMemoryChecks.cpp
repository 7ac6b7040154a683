// The check that scenes leave nothing behind.
#include "OpTypeChecks.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "OpTypeUnderTest.h"
#include "Resources.h"

namespace TellarTool {

namespace {

constexpr int kScenes = 100;
constexpr int kMostRuns = 6; // the first one fills caches
constexpr std::size_t kMostPaths = 100;
// Less than one small object for each scene.
constexpr std::int64_t kBytesOfRun = 12 * kScenes;

void CookScenes(const OpCase& made) {
    for (int i = 0; i < kScenes; ++i) {
        const auto client = made.open()->getClient();
        CookAll(*client, PathsOf(*client, kMostPaths));
    }
}

/// The resources that a hundred scenes do not give back.
Resources Growth(const OpCase& made) {
    const Resources first = ResourcesInUse();
    CookScenes(made);
    const Resources last = ResourcesInUse();
    return {last.openFiles - first.openFiles, last.threads - first.threads,
            last.heapBytes - first.heapBytes};
}

bool IsNothing(const Resources& growth) {
    return growth.heapBytes <= kBytesOfRun && growth.threads <= 0 && growth.openFiles <= 0;
}

void ExpectNothing(const OpCase& made, std::int64_t growth, std::int64_t most, const char* what,
                   Verdict& verdict) {
    verdict.expect(growth <= most, made.name + ": every hundred scenes leave " +
                                       std::to_string(growth) + ' ' + what);
}

} // namespace

void CheckNothingLeft(const Subject& subject, Verdict& verdict) {
    for (const OpCase& made : UsableCases(subject, verdict)) {
        Resources growth = Growth(made);
        for (int run = 1; run < kMostRuns && !IsNothing(growth); ++run)
            growth = Growth(made);
        ExpectNothing(made, growth.heapBytes, kBytesOfRun, "bytes", verdict);
        ExpectNothing(made, growth.threads, 0, "threads", verdict);
        ExpectNothing(made, growth.openFiles, 0, "open files", verdict);
    }
}

} // namespace TellarTool
