#include "RuntimeState.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "OpGraph.h"

namespace OxTellarRuntimeDetail {

void RuntimeState::Cooked::Forget::operator()(CookedIndex* index) const noexcept {
    store->removeIndex(*index);
    delete index;
}

std::vector<RuntimeState::Cooked> RuntimeState::takeUnused() {
    const auto isUsed = [](const Cooked& entry) { return entry.store.use_count() != 1; };
    const auto unused = std::partition(cooked.begin(), cooked.end(), isUsed);
    std::vector<Cooked> taken(std::make_move_iterator(unused),
                              std::make_move_iterator(cooked.end()));
    cooked.erase(unused, cooked.end());
    const auto isGone = [](const std::weak_ptr<TellarRuntime::Op>& op) { return op.expired(); };
    ops.erase(std::remove_if(ops.begin(), ops.end(), isGone), ops.end());
    return taken;
}

RuntimeState::Ops RuntimeState::livingOps() const {
    Ops living;
    for (const std::weak_ptr<TellarRuntime::Op>& op : ops)
        if (auto held = op.lock()) living.push_back(std::move(held));
    return living;
}

RuntimeState::Ops RuntimeState::findResultsAgain() {
    if (!areResultsTaken) return {};
    Ops living = livingOps();
    for (const auto& op : living) {
        OpNode& node = OpNode::Of(*op);
        if (!node.defect && !node.store) node.store = LocationStore::ForIdentity(node.identity);
    }
    areResultsTaken = false;
    return living;
}

CookedIndex* RuntimeState::indexOf(const std::shared_ptr<LocationStore>& store) {
    for (const Cooked& entry : cooked)
        if (entry.store == store) return entry.index.get();
    auto index = std::make_unique<CookedIndex>();
    cooked.reserve(cooked.size() + 1);
    store->addIndex(*index);
    cooked.push_back({store, {index.release(), {store.get()}}});
    return cooked.back().index.get();
}

} // namespace OxTellarRuntimeDetail
