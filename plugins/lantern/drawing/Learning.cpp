#include "drawing/Learning.h"

#include <algorithm>
#include <cstddef>

#include "ForEachIndex.h"

namespace lantern {
namespace {

constexpr int kRounds = 3;
constexpr int kPathsToLearn = 2; // per pixel in each round
constexpr int kPortion = 256;    // paths that one thread traces together
constexpr int kMostPortions = 128;

std::vector<Guide::Visit> VisitsOfPortion(int round, int portion, const TraceToLearn& trace) {
    std::vector<Guide::Visit> visits;
    for (int i = 0; i < kPortion; ++i)
        trace(Sampler(-1 - round, -1, portion * kPortion + i),
              visits); // negative coordinates: random numbers that no pixel uses
    return visits;
}

} // namespace

void Learn(Guide& guide, double pixels, int threads, const TraceToLearn& trace) {
    const int portions =
        static_cast<int>(std::min(pixels * kPathsToLearn / kPortion, double(kMostPortions)));
    std::vector<Guide::Visit> visits;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::vector<Guide::Visit>> found(static_cast<std::size_t>(portions));
        ForEachIndex(portions, 1, threads, [&](int portion) {
            found[static_cast<std::size_t>(portion)] = VisitsOfPortion(round, portion, trace);
        });
        for (const std::vector<Guide::Visit>& some : found)
            visits.insert(visits.end(), some.begin(), some.end());
        guide = Guide(visits);
    }
}

} // namespace lantern
