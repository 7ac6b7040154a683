#include "OpGraph.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

#include <OxTellarSDK/CurrentOp.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "CacheCounts.h"
#include "Cook.h"
#include "CookObservers.h"
#include "CookWaiters.h"
#include "CookWaits.h"
#include "PerThread.h"
#include "PluginCall.h"
#include "ResultMemory.h"
#include "ThreadSlot.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::ThreadSlot;
using LocationData = TellarRuntime::LocationData;

namespace {

TELLAR_THREAD_WORD const OpNode* currentOp = nullptr; // see CurrentOp

struct alignas(64) Counter {
    std::atomic<std::uint64_t> value{0};
};

std::array<Counter, ThreadSlot::kCount>& CookCounters() {
    static auto* const counters = new std::array<Counter, ThreadSlot::kCount>;
    return *counters;
}

void CountCook() {
    const std::uint32_t slot = ThreadSlot::Current();
    std::atomic<std::uint64_t>& value = CookCounters()[slot].value;
    if (slot == ThreadSlot::kShared)
        value.fetch_add(1, std::memory_order_relaxed);
    else
        value.store(value.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

std::uint32_t NextEviction() {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

/// Tells the observers of the exception that is being handled.
void TellFailure(const CookObservers& observers, const OxOpType::ObservedCook& cook) {
    static const auto* const noMemory = new ErrorFacts{kOxErrorMemory, {}, {}, {}, {}, {}, {}, {}};
    const auto tell = [&](const ErrorFacts& error) {
        for (const auto& observer : observers)
            observer->cookFails(cook, error);
    };
    try {
        throw;
    } catch (const TellarError& error) {
        tell(error.getFacts());
    } catch (...) { // all others became a CookError, unless memory was missing
        tell(*noMemory);
    }
}

/// A cook whose reads are told to observers.
class WatchedCook final : public Cook {
public:
    WatchedCook(const OpNode& op, const LocationNode& node, const NodePath& path,
                std::uint32_t eviction, const OxOpType::State* state,
                const OxOpType::ObservedCook& cook, const CookObservers& observers)
        : Cook(op, node, path, eviction, state), cook(cook), observers(observers) {}

    LocationData input(std::size_t index, const std::string& path) override {
        LocationData data = Cook::input(index, path);
        for (const auto& observer : observers)
            observer->inputWasRead(cook, index, path, data);
        return data;
    }

private:
    const OxOpType::ObservedCook& cook;
    const CookObservers& observers;
};

/// A cook that notes its reads and how it made its result.
class TracedCook final : public Cook {
public:
    TracedCook(const OpNode& op, const LocationNode& node, const NodePath& path,
               std::uint32_t eviction, const OxOpType::State* state, OxOpType::CookTrace& trace)
        : Cook(op, node, path, eviction, state), trace(trace) {}
    ~TracedCook() override = default;

    LocationData input(std::size_t index, const std::string& path) override {
        trace.reads.push_back({index, path, {}});
        const std::size_t place = trace.reads.size() - 1;
        LocationData data = Cook::input(index, path);
        trace.reads[place].data = data;
        return data;
    }

    LocationData takeResult() {
        trace.isPassed = isPassed();
        return Cook::takeResult();
    }

private:
    OxOpType::CookTrace& trace;
};

/// The record with one reference for the caller. Null when there is none, or when it is to be
/// replaced: while a location is cooked anew, its record is still the one that was evicted.
LocationRecord* FreshRecord(const LocationNode& node) {
    return node.state.load(std::memory_order_acquire) == 0 ? node.acquireRecord() : nullptr;
}

} // namespace

std::uint64_t NumberOfCooks() {
    std::uint64_t sum = 0;
    for (const Counter& counter : CookCounters())
        sum += counter.value.load(std::memory_order_relaxed);
    return sum;
}

CurrentOp::CurrentOp(const OpNode& op) noexcept : outer(std::exchange(currentOp, &op)) {}
CurrentOp::~CurrentOp() {
    currentOp = outer;
}

std::string OpNode::label() const {
    return (place.empty() ? place : place + ": ") + "Op \"" + name + "\" (" + typeName + ")";
}

void OpNode::fail(const std::string* path, ErrorFacts cause) const {
    // Types other than TellarError tell only that the cook failed.
    if (cause.code == kOxErrorUnknown) cause.code = kOxErrorCook;
    const std::string location = path ? " at \"" + *path + '"' : std::string();
    cause.text = label() + location + ": " + cause.text;
    cause.op = name;
    cause.opType = typeName;
    cause.opPlace = place;
    if (path) cause.location = *path;
    throw CookError(std::move(cause));
}

template <typename Call>
auto OpNode::guarded(const NodePath* path, const Call& call) const {
    const CurrentOp current(*this);
    ErrorFacts cause;
    try {
        return call();
    } catch (const CookError&) {
        throw; // the text names the Op that failed
    } catch (const std::bad_alloc& error) {
        cause = FactsOf(error);
        cause.text = "out of memory";
    } catch (const std::exception& error) {
        cause = FactsOf(error);
    } catch (...) {
        cause.text = "it threw something that is no std::exception";
    }
    fail(path ? &path->text() : nullptr, std::move(cause));
}

void OpNode::prepare() const {
    if (defect) fail(nullptr, {kOxErrorCook, *defect, {}, {}, {}, {}, {}, {}});
    guarded(nullptr, [&] { store->prepare(*type, args, inputs.size()); });
}

template <typename Find>
LocationData OpNode::cookFound(const Find& find, const std::string* path, std::uint32_t eviction,
                               CookedBy* by) const {
    LocationData data;
    {
        NodePin pin;
        while (!pin) {
            const ReadGuard guard;
            LocationNode* const node = find();
            if (!node) return {};
            if (eviction == 0)
                if (LocationRecord* record = FreshRecord(*node)) {
                    data = LocationData(record);
                    if (by) by->note(*node);
                    OxTellarMemory::CacheCounts::Hit(store->memory());
                    return data;
                }
            if (!pin.tryPin(*node)) LocationStore::AwaitDrop(*node);
        }
        LocationNode& node = pin.node();
        data = cookAt(node, NodePath(*store, node, path), eviction);
        if (by) by->note(node);
    }
    OxTellarMemory::RelieveMemory();
    return data;
}

LocationData OpNode::cook(const std::string& path, std::uint32_t eviction, CookedBy* by) const {
    if (defect) fail(&path, {kOxErrorCook, *defect, {}, {}, {}, {}, {}, {}});
    LocationData data = cookFound([&] { return store->findOrAdd(path); }, &path, eviction, by);
    return data.isValid() ? data : MissingLocation();
}

LocationData OpNode::cookChild(const NodeHandle& parent, std::string_view name, std::int64_t index,
                               CookedBy& by) const {
    const auto find = [&] {
        LocationNode* const node = store->resolve(parent);
        return node ? store->findOrAddChild(*node, name, index) : nullptr;
    };
    return cookFound(find, nullptr, 0, &by);
}

LocationData OpNode::cookAt(LocationNode& node, const NodePath& path,
                            std::uint32_t eviction) const {
    std::uint8_t state = node.state.load(std::memory_order_acquire);
    for (;;) {
        if (state & LocationNode::kCooking) {
            if (IsMadeByThisThread(&node) || !waitForCook(node, path))
                fail(&path.text(),
                     {kOxErrorCook, "the location needs itself", {}, {}, {}, {}, {}, {}});
            state = node.state.load(std::memory_order_acquire);
            continue;
        }
        // An eviction after this point makes the location stale again.
        if (node.state.compare_exchange_weak(state, LocationNode::kCooking,
                                             std::memory_order_acq_rel, std::memory_order_acquire))
            break;
    }
    if (node.freshness < eviction) return cookNow(node, path, eviction);
    if (state & LocationNode::kStale) return cookNow(node, path, NextEviction());
    // Another thread may have cooked the location since this one found no record.
    if (LocationRecord* record = node.acquireRecord()) {
        EndCook(node);
        return LocationData(record);
    }
    return cookNow(node, path, eviction);
}

/// The calling thread must have set kCooking.
LocationData OpNode::cookNow(LocationNode& node, const NodePath& path,
                             std::uint32_t eviction) const {
    node.wasCooked.store(true, std::memory_order_release);
    LocationRecord* record = nullptr;
    try {
        record = compute(node, path, eviction);
    } catch (...) {
        if (eviction != 0) node.state.fetch_or(LocationNode::kStale, std::memory_order_relaxed);
        EndCook(node);
        throw;
    }
    node.attrsAddress.store(record->attrs.getHandle(), std::memory_order_relaxed);
    LocationRecord* previous = node.record.load(std::memory_order_relaxed);
    node.record.store(record, std::memory_order_release);
    if (previous) previous->release();
    if (eviction != 0) node.freshness = std::max(node.freshness.load(), eviction);
    EndCook(node);
    return LocationData(record);
}

LocationRecord* OpNode::compute(LocationNode& node, const NodePath& path,
                                std::uint32_t eviction) const {
    const MakingScope scope(&node);
    CountCook();
    store->memory().miss();
    LocationData result = AreCooksObserved() ? computeObserved(node, path, eviction)
                                             : computeWith<Cook>(node, path, eviction);
    LocationRecord* record = result.detachRecord();
    record->retain();
    return record;
}

/// `more` are further arguments of the context's constructor.
template <typename Context, typename... More>
LocationData OpNode::computeWith(LocationNode& node, const NodePath& path, std::uint32_t eviction,
                                 More&... more) const {
    return guarded(&path, [&] {
        const OxOpType::State* state = store->prepare(*type, args, inputs.size());
        Context cook(*this, node, path, eviction, state, more...);
        type->cook(cook);
        return cook.takeResult();
    });
}

LocationData OpNode::computeObserved(LocationNode& node, const NodePath& path,
                                     std::uint32_t eviction) const {
    const std::shared_ptr<const CookObservers> observers = CurrentCookObservers();
    if (!observers) return computeWith<Cook>(node, path, eviction);
    const OxOpType::ObservedCook cook = observed(path);
    for (const auto& observer : *observers)
        observer->cookBegins(cook);
    try {
        LocationData result = computeWith<WatchedCook>(node, path, eviction, cook, *observers);
        for (const auto& observer : *observers)
            observer->cookEnds(cook, result);
        return result;
    } catch (...) {
        TellFailure(*observers, cook);
        throw;
    }
}

OxOpType::ObservedCook OpNode::observed(const NodePath& path) const {
    return {name, typeName, identity, path.text()};
}

bool OpNode::waitForCook(LocationNode& node, const NodePath& path) const {
    const std::shared_ptr<const CookObservers> observers = CurrentCookObservers();
    if (!observers) return WaitForCook(node);
    const OxOpType::ObservedCook cook = observed(path);
    for (const auto& observer : *observers)
        observer->waitBegins(cook);
    const bool hasEnded = WaitForCook(node);
    for (const auto& observer : *observers)
        observer->waitEnds(cook);
    return hasEnded;
}

OxOpType::CookTrace OpNode::trace(const std::string& path) const {
    OxOpType::CookTrace trace;
    try {
        trace.result = traceInto(trace, path);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        trace.error = std::current_exception();
    }
    return trace;
}

LocationData OpNode::traceInto(OxOpType::CookTrace& trace, const std::string& path) const {
    if (defect) fail(&path, {kOxErrorCook, *defect, {}, {}, {}, {}, {}, {}});
    if (!store) fail(&path, {kOxErrorCook, "its results were taken", {}, {}, {}, {}, {}, {}});
    NodePin pin;
    while (!pin) {
        const ReadGuard guard;
        LocationNode* const node = store->findOrAdd(path);
        if (!node) return MissingLocation();
        if (!pin.tryPin(*node)) LocationStore::AwaitDrop(*node);
    }
    cookParent(pin.node());
    return computeWith<TracedCook>(pin.node(), NodePath(*store, pin.node(), &path), 0, trace);
}

/// For the note that it may keep for its children. A parent that cannot be cooked has none.
void OpNode::cookParent(LocationNode& node) const {
    LocationNode* const parent = node.parent();
    if (!parent || !parent->parent()) return;
    try {
        cookFound([&] { return parent; }, nullptr, 0, nullptr);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
    }
}

} // namespace OxTellarRuntimeDetail

namespace OxOpType {

std::string DescribeCurrentOp() {
    using OxTellarRuntimeDetail::currentOp;
    return currentOp ? currentOp->label() : std::string();
}

CookTrace TraceCook(const TellarRuntime::Op& op, const std::string& location) {
    return OxTellarRuntimeDetail::OpNode::Of(op).trace(location);
}

} // namespace OxOpType
