#include "drawing/Learning.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace lantern {
namespace {

constexpr int kRounds = 3;
constexpr int kPathsToLearn = 2; // per pixel in each round
constexpr int kPortion = 256;    // paths that one thread traces together
constexpr int kMostPortions = 128;

/// Calls the function for the numbers below `count`, in several threads. Throws what one of them
/// has thrown.
template <typename Function>
void ForEachIndex(int count, int threads, const Function& function) {
    std::atomic<int> next{0};
    std::mutex lock; // guards `failure`
    std::exception_ptr failure;
    const auto work = [&] {
        try {
            for (int i = next++; i < count; i = next++)
                function(i);
        } catch (...) {
            const std::lock_guard<std::mutex> guard(lock);
            failure = std::current_exception();
            next = count;
        }
    };
    std::vector<std::thread> others;
    try {
        for (int i = 1; i < std::min(threads, count); ++i)
            others.emplace_back(work);
    } catch (const std::system_error&) { // those that have started are enough
    }
    work();
    for (std::thread& other : others)
        other.join();
    if (failure) std::rethrow_exception(failure);
}

std::vector<Guide::Visit> VisitsOfPortion(int round, int portion, const TraceToLearn& trace) {
    std::vector<Guide::Visit> visits;
    for (int i = 0; i < kPortion; ++i)
        trace(Sampler(-1 - round, -1, portion * kPortion + i), visits); // no pixel is there
    return visits;
}

} // namespace

void Learn(Guide& guide, double pixels, int threads, const TraceToLearn& trace) {
    const int portions =
        static_cast<int>(std::min(pixels * kPathsToLearn / kPortion, double(kMostPortions)));
    std::vector<Guide::Visit> visits;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::vector<Guide::Visit>> found(static_cast<std::size_t>(portions));
        ForEachIndex(portions, threads, [&](int portion) {
            found[static_cast<std::size_t>(portion)] = VisitsOfPortion(round, portion, trace);
        });
        for (const std::vector<Guide::Visit>& some : found)
            visits.insert(visits.end(), some.begin(), some.end());
        guide = Guide(visits);
    }
}

} // namespace lantern
