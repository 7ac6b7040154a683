#include <OxTellarProducers/SceneProfile.h>

#include <mutex>
#include <utility>

#include <OxTellarSDK/CookObserver.h>

#include "CookRecorder.h"

namespace TELLAR {

struct CookProfiler::Watch {
    explicit Watch(std::shared_ptr<OxOpType::CookObserver> observer)
        : observation(std::move(observer)) {}

    OxOpType::CookObservation observation;
};

CookProfiler::CookProfiler(const ProfileLimits& limits)
    : recorder(std::make_shared<CookRecorder>(limits)), watch(std::make_unique<Watch>(recorder)) {}

CookProfiler::~CookProfiler() = default;

void CookProfiler::stop() {
    recorder->stop();
    watch.reset();
}

SceneProfile CookProfiler::take() {
    stop();
    return recorder->summarize();
}

CookedLocations CookLocations(const GeometryProducer::Ptr& start, const VisitOptions& options,
                              std::atomic<std::uint64_t>* count) {
    CookedLocations cooked;
    std::atomic<std::uint64_t> own{0};
    std::atomic<std::uint64_t>& visits = count ? *count : own;
    const std::uint64_t before = visits;
    std::mutex lock; // guards the failures
    cooked.end = VisitLocations(start, options, [&](VisitedLocation& visited) {
        visits.fetch_add(1, std::memory_order_relaxed);
        if (visited.error) {
            const std::lock_guard<std::mutex> guard(lock);
            ++cooked.failed;
            if (!cooked.firstError) cooked.firstError = visited.error;
        }
        return VisitWish::GoOn;
    });
    cooked.locations = visits - before - cooked.failed;
    return cooked;
}

} // namespace TELLAR
