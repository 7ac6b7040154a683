#include <OxTellarSDK/TellarRuntime.h>

#include <mutex>
#include <utility>

#include "CacheCounts.h"
#include "OpGraph.h"
#include "RuntimeState.h"

using OxTellarRuntimeDetail::CookedBy;
using OxTellarRuntimeDetail::CookedIndex;
using OxTellarRuntimeDetail::LocationNode;
using OxTellarRuntimeDetail::LocationRecord;
using OxTellarRuntimeDetail::LocationStore;
using OxTellarRuntimeDetail::OpNode;
using OxTellarRuntimeDetail::ReadGuard;
using OxTellarRuntimeDetail::RuntimeState;

/// The results that a client looks at.
struct TellarRuntime::Client::View {
    std::shared_ptr<LocationStore> store; // null when the Op has a defect
    CookedIndex* cooked; // owned by the runtime; shared by its clients with equal Ops

    /// Invalid data for a location that the runtime has not cooked, and for null. The caller has a
    /// guard.
    LocationData cached(LocationNode* node) const {
        if (!node || !cooked->contains(node->serial())) return {};
        LocationData data(node->acquireRecord());
        data.place = node->handle();
        if (data.isValid()) OxTellarMemory::CacheCounts::Hit(store->memory());
        return data;
    }
};

TellarRuntime::Client::Client(std::shared_ptr<TellarRuntime> owner) : runtime(std::move(owner)) {}
// Under the lock, so that whoever finds a store unused there also sees this client done with it.
TellarRuntime::Client::~Client() {
    const std::unique_ptr<View> last(view.load(std::memory_order_relaxed));
    if (!last) return;
    const std::lock_guard<std::mutex> guard(runtime->state->lock);
    --runtime->state->lookingClients;
    last->store.reset();
}

/// The runtime's lock is held.
void TellarRuntime::Client::look() {
    const std::shared_ptr<LocationStore>& store = OpNode::Of(*op).store;
    auto made =
        std::make_unique<View>(View{store, store ? runtime->state->indexOf(store) : nullptr});
    ++runtime->state->lookingClients;
    view.store(made.release(), std::memory_order_release);
}

/// For a client whose results were taken; null for one that never looked at anything.
TellarRuntime::Client::View* TellarRuntime::Client::lookAgain() {
    RuntimeState::Ops living;
    const std::lock_guard<std::mutex> guard(runtime->state->lock);
    if (hadResults && !view.load(std::memory_order_relaxed)) {
        living = runtime->state->findResultsAgain();
        look();
    }
    return view.load(std::memory_order_relaxed);
}

std::shared_ptr<const void> TellarRuntime::Client::takeResults() {
    struct Taken {
        std::unique_ptr<View> view;
        std::vector<RuntimeState::Cooked> cooked;
        std::vector<std::shared_ptr<LocationStore>> stores;
        RuntimeState::Ops living;
    };
    auto taken = std::make_shared<Taken>();
    RuntimeState& state = *runtime->state;
    const std::lock_guard<std::mutex> guard(state.lock);
    if (!view.load(std::memory_order_relaxed)) return nullptr;
    if (state.lookingClients == 1) {
        taken->living = state.livingOps();
        taken->stores.reserve(taken->living.size());
        for (const auto& living : taken->living)
            taken->stores.push_back(std::move(OpNode::Of(*living).store));
        taken->cooked.swap(state.cooked);
        state.areResultsTaken = true;
    }
    taken->view.reset(view.exchange(nullptr, std::memory_order_acq_rel));
    --state.lookingClients;
    hadResults = true;
    return taken;
}

TellarRuntime::LocationData TellarRuntime::Client::cookLocation(const std::string& path) {
    View* seen = view.load(std::memory_order_acquire);
    if (!seen) seen = lookAgain();
    if (!seen) return LocationData(LocationRecord::Missing());
    if (!seen->store) return OpNode::Of(*op).cook(path, 0, nullptr); // throws what is wrong
    CookedBy by{*seen->cooked, {}};
    LocationData data = OpNode::Of(*op).cook(path, 0, &by);
    data.place = by.handle;
    return data;
}

TellarRuntime::LocationData TellarRuntime::Client::cookChild(const LocationData& parent,
                                                             std::int64_t index) {
    View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->store || !parent.place.block) return {};
    const std::string_view name = parent.getPotentialChildren().getValueView(index);
    CookedBy by{*seen->cooked, {}};
    LocationData data = OpNode::Of(*op).cookChild(parent.place, name, index, by);
    data.place = by.handle;
    return data;
}

TellarRuntime::LocationData TellarRuntime::Client::getCachedLocation(const std::string& path) {
    const View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->store) return {};
    const ReadGuard guard;
    return seen->cached(seen->store->find(path));
}

TellarRuntime::LocationData TellarRuntime::Client::getCachedChild(const LocationData& parent,
                                                                  std::int64_t index) {
    const View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->store || !parent.place.block) return {};
    const std::string_view name = parent.getPotentialChildren().getValueView(index);
    const ReadGuard guard;
    LocationNode* const node = seen->store->resolve(parent.place);
    return node ? seen->cached(seen->store->findChild(*node, name, index)) : LocationData();
}

std::shared_ptr<TellarRuntime> TellarRuntime::Client::getRuntime() const {
    return runtime;
}
std::shared_ptr<TellarRuntime::Op> TellarRuntime::Client::getOp() const {
    return op;
}
