#include "CookRecorder.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "PerThread.h"
#include "ProfileSummary.h"

namespace TELLAR {

namespace {

/// The recorder whose cook the thread has told last.
struct LastRecorder {
    std::uint64_t id = 0;
    ThreadCooks* cooks = nullptr; // valid while the recorder lives
};

std::uint64_t NextId() {
    static std::atomic<std::uint64_t> next{1};
    return next.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

CookRecorder::CookRecorder(const ProfileLimits& limits)
    : id(NextId()),
      limits(limits), shared{ThreadCooks::Clock::now(), CostliestLocations(limits.locations),
                             LongestEvents(limits.events)} {}

CookRecorder::~CookRecorder() = default;

void CookRecorder::cookBegins(const OxOpType::ObservedCook& cook) noexcept {
    ThreadCooks* const cooks = current();
    if (cooks)
        cooks->cookBegins(cook);
    else
        lost.fetch_add(1, std::memory_order_relaxed);
}

void CookRecorder::inputWasRead(const OxOpType::ObservedCook& /*cook*/, std::size_t /*input*/,
                                const std::string& /*location*/,
                                const TellarRuntime::LocationData& data) noexcept {
    if (ThreadCooks* const cooks = current()) cooks->inputWasRead(data);
}

void CookRecorder::cookEnds(const OxOpType::ObservedCook& cook,
                            const TellarRuntime::LocationData& result) noexcept {
    if (ThreadCooks* const cooks = current()) cooks->cookEnds(cook, result);
}

void CookRecorder::cookFails(const OxOpType::ObservedCook& cook, const ErrorFacts& error) noexcept {
    ThreadCooks* const cooks = current();
    if (!cooks || !cooks->cookFails(cook)) return;
    try {
        const std::lock_guard<std::mutex> guard(lock);
        if (errors.size() < limits.errors) errors.push_back(error);
    } catch (const std::exception&) { // the error is counted
    }
}

void CookRecorder::waitBegins(const OxOpType::ObservedCook& /*cook*/) noexcept {
    if (ThreadCooks* const cooks = current()) cooks->waitBegins();
}

void CookRecorder::waitEnds(const OxOpType::ObservedCook& cook) noexcept {
    if (ThreadCooks* const cooks = current()) cooks->waitEnds(cook);
}

/// Null when there is no memory for the thread's cooks.
ThreadCooks* CookRecorder::current() noexcept {
    LastRecorder* const last = PerThread<LastRecorder>::Get();
    if (last && last->id == id) return last->cooks;
    try {
        ThreadCooks* const cooks = findOrAdd();
        if (last) *last = {id, cooks};
        return cooks;
    } catch (const std::exception&) {
        return nullptr;
    }
}

/// A thread gets the cooks of one that has ended, if the system gave it the same number.
ThreadCooks* CookRecorder::findOrAdd() {
    const std::lock_guard<std::mutex> guard(lock);
    const auto number = static_cast<std::uint32_t>(threads.size());
    auto& cooks = threads[std::this_thread::get_id()];
    if (!cooks) cooks = std::make_unique<ThreadCooks>(shared, number);
    return cooks.get();
}

void CookRecorder::stop() noexcept {
    std::int64_t running = 0;
    const std::chrono::nanoseconds now = ThreadCooks::Clock::now() - shared.start;
    length.compare_exchange_strong(running, std::max<std::int64_t>(now.count(), 1));
}

SceneProfile CookRecorder::summarize() {
    std::vector<ThreadCooks*> known;
    ProfileSummary summary;
    {
        const std::lock_guard<std::mutex> guard(lock);
        for (const auto& thread : threads)
            known.push_back(thread.second.get());
        summary.profile.errors = errors;
    }
    std::sort(known.begin(), known.end(), [](const ThreadCooks* a, const ThreadCooks* b) {
        return a->getNumber() < b->getNumber();
    });
    for (ThreadCooks* const thread : known) {
        const ThreadCooks::Seen seen = thread->look();
        summary.add(seen.calls);
        summary.profile.cooksLost += seen.lost;
    }
    summary.profile.seconds = double(length.load()) * kSecondsPerNanosecond;
    summary.profile.threads = known.size();
    summary.profile.cooksLost += lost.load();
    summary.setLocations(shared.locations.getCostliest());
    summary.setEvents(shared.events.getLongest());
    return summary.finish();
}

} // namespace TELLAR
