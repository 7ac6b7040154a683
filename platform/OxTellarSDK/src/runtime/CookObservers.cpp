#include "CookObservers.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace OxTellarRuntimeDetail {

std::atomic<bool> areCooksObserved{false};

namespace {

using List = std::shared_ptr<CookObservers>;

/// A change makes a new list, because cooks that go on still tell those of the old one.
struct Registry {
    std::mutex lock; // guards the members below
    std::shared_ptr<const CookObservers> observers;
    /// An empty list for each observer, with room for those that were there before it: the lists
    /// that removals need, which must not fail.
    std::vector<List> spares;

    /// Returns the earlier list, to be released without the lock: that may destroy an observer.
    [[nodiscard]] std::shared_ptr<const CookObservers> replace(const List& list) noexcept {
        areCooksObserved.store(!list->empty(), std::memory_order_relaxed);
        return std::exchange(observers, list);
    }
};

Registry& GetRegistry() {
    static auto* const registry = new Registry;
    return *registry;
}

void Add(const std::shared_ptr<OxOpType::CookObserver>& observer) {
    Registry& registry = GetRegistry();
    std::shared_ptr<const CookObservers> earlier;
    const std::lock_guard<std::mutex> guard(registry.lock);
    const auto list = std::make_shared<CookObservers>();
    const auto spare = std::make_shared<CookObservers>();
    if (registry.observers) *list = *registry.observers;
    spare->reserve(list->size());
    list->push_back(observer);
    registry.spares.push_back(spare);
    earlier = registry.replace(list);
}

void Remove(const std::shared_ptr<OxOpType::CookObserver>& observer) noexcept {
    Registry& registry = GetRegistry();
    std::shared_ptr<const CookObservers> earlier;
    const std::lock_guard<std::mutex> guard(registry.lock);
    const List list = std::move(registry.spares.back());
    registry.spares.pop_back();
    const CookObservers& all = *registry.observers;
    const auto removed = std::find(all.begin(), all.end(), observer);
    list->insert(list->end(), all.begin(), removed);
    list->insert(list->end(), removed + 1, all.end());
    earlier = registry.replace(list);
}

} // namespace

std::shared_ptr<const CookObservers> CurrentCookObservers() {
    Registry& registry = GetRegistry();
    if (!AreCooksObserved()) return nullptr;
    const std::lock_guard<std::mutex> guard(registry.lock);
    return registry.observers;
}

} // namespace OxTellarRuntimeDetail

namespace OxOpType {

CookObserver::~CookObserver() = default;
void CookObserver::cookBegins(const ObservedCook&) noexcept {}
void CookObserver::inputWasRead(const ObservedCook&, std::size_t, const std::string&,
                                const TellarRuntime::LocationData&) noexcept {}
void CookObserver::cookEnds(const ObservedCook&, const TellarRuntime::LocationData&) noexcept {}
void CookObserver::cookFails(const ObservedCook&, const ErrorFacts&) noexcept {}
void CookObserver::waitBegins(const ObservedCook&) noexcept {}
void CookObserver::waitEnds(const ObservedCook&) noexcept {}

CookObservation::CookObservation(std::shared_ptr<CookObserver> observer)
    : observer(std::move(observer)) {
    OxTellarRuntimeDetail::Add(this->observer);
}

CookObservation::~CookObservation() {
    OxTellarRuntimeDetail::Remove(observer);
}

} // namespace OxOpType
