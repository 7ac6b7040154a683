#include <OxTellarSDK/ChangedLocations.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include "AttributeNode.h"
#include "OpGraph.h"

namespace OxOpType {

namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxLocationPath::LocationSet;
using OxTellarRuntimeDetail::OpNode;

// Graphs that differ in more places than this are taken to differ everywhere.
constexpr std::size_t kMostPairs = 200000;

// How far down the chains of first inputs are searched for an Op that both have.
constexpr std::size_t kMostInChain = 64;

/// The answer of an op type. When its code throws, nothing is known.
template <typename Ask>
LocationSet Answer(const Ask& ask) {
    try {
        return ask();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return LocationSet::everything();
    }
}

const OpNode* NodeOf(const std::shared_ptr<TellarRuntime::Op>& op) {
    return op ? &OpNode::Of(*op) : nullptr;
}

const OpNode* InputOf(const OpNode& op, std::size_t index) {
    return index < op.inputs.size() ? NodeOf(op.inputs[index]) : nullptr;
}

/// The zero hash for null. No committed Op has it.
Hash IdentityOf(const OpNode* op) {
    return op ? op->identity : Hash();
}

/// True when the Op can be cooked. Its arguments are then in order.
bool IsSound(const OpNode& op) {
    if (!op.committed || op.defect || !op.type) return false;
    // Kept here, because the Op may lose its store meanwhile (TellarRuntime::Client::takeResults).
    const auto store = op.store;
    try {
        if (store)
            store->prepare(*op.type, op.args, op.inputs.size());
        else
            op.type->prepare(op.args, op.inputs.size());
        return true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return false;
    }
}

/// One comparison. Every pair of Ops is compared once.
///
/// compare() calls itself for inputs of Ops that can be cooked, so it is never deeper than twice
/// the depth of such Ops.
class GraphComparison {
public:
    /// Where the results of two Ops differ. Null stands for an Op without locations.
    LocationSet compare(const OpNode* before, const OpNode* after) {
        if (before == after) return {};
        const Key key{IdentityOf(before), IdentityOf(after)};
        if (before && after && before->committed && after->committed && key.first == key.second)
            return {};
        if (const auto known = sets.find(key); known != sets.end()) return known->second;
        if (sets.size() >= kMostPairs) return LocationSet::everything();
        LocationSet set = compareNow(before, after);
        sets.emplace(key, set);
        return set;
    }

private:
    using Key = std::pair<Hash, Hash>;

    LocationSet compareNow(const OpNode* before, const OpNode* after) {
        if ((before && !IsSound(*before)) || (after && !IsSound(*after)))
            return LocationSet::everything();
        if (!before) return presenceOf(*after);
        if (!after) return presenceOf(*before);
        if (isOnTopOf(*after, *before)) return touchedByPresence(*after);
        if (isOnTopOf(*before, *after)) return touchedByPresence(*before);
        LocationSet set = LocationSet::everything();
        if (before->type == after->type) set = compareSameType(*before, *after);
        if (set.isEverything()) set = compareChains(*before, *after);
        if (set.isEverything() && before->type != after->type)
            set = LocationSet::unionOf({compare(before, nullptr), compare(nullptr, after)});
        return set;
    }

    static bool isOnTopOf(const OpNode& upper, const OpNode& lower) {
        const OpNode* const input = InputOf(upper, 0);
        return input && input->identity == lower.identity;
    }

    /// First the inputs change, one after the other, then the arguments do.
    LocationSet compareSameType(const OpNode& before, const OpNode& after) {
        std::vector<LocationSet> sets;
        if (OxAttribute::ContentIdentity(before.args) != OxAttribute::ContentIdentity(after.args))
            sets.push_back(Answer([&] { return after.type->touchedBy(before.args, after.args); }));
        const std::size_t inputs = std::max(before.inputs.size(), after.inputs.size());
        for (std::size_t index = 0; index < inputs && !endsWithEverything(sets); ++index)
            sets.push_back(touchedThrough(before, index,
                                          compare(InputOf(before, index), InputOf(after, index))));
        return LocationSet::unionOf(sets);
    }

    /// Both Ops as edits on top of an Op that is below both of them.
    LocationSet compareChains(const OpNode& before, const OpNode& after) {
        std::map<Hash, std::size_t> places;
        const std::vector<const OpNode*> chainBefore = chainBelow(before);
        for (std::size_t place = 0; place < chainBefore.size(); ++place)
            places.emplace(chainBefore[place]->identity, place);
        const std::vector<const OpNode*> chainAfter = chainBelow(after);
        const auto common =
            std::find_if(chainAfter.begin(), chainAfter.end(),
                         [&](const OpNode* op) { return places.count(op->identity) != 0; });
        if (common == chainAfter.end()) return LocationSet::everything();
        std::vector<LocationSet> sets;
        for (auto op = chainAfter.begin(); op != common; ++op)
            sets.push_back(touchedByPresence(**op));
        for (std::size_t place = 0; place < places[(*common)->identity]; ++place)
            sets.push_back(touchedByPresence(*chainBefore[place]));
        return LocationSet::unionOf(sets);
    }

    /// The Op, its first input, the first input of that and so on.
    static std::vector<const OpNode*> chainBelow(const OpNode& op) {
        std::vector<const OpNode*> chain;
        for (const OpNode* next = &op; next && chain.size() < kMostInChain;
             next = InputOf(*next, 0))
            chain.push_back(next);
        return chain;
    }

    /// Where the Op differs from its first input.
    LocationSet touchedByPresence(const OpNode& op) {
        if (!IsSound(op)) return LocationSet::everything();
        std::vector<LocationSet> sets{
            Answer([&] { return op.type->touchedBy(GroupAttribute(), op.args); })};
        for (std::size_t index = 1; index < op.inputs.size() && !endsWithEverything(sets); ++index)
            sets.push_back(touchedThrough(op, index, compare(nullptr, InputOf(op, index))));
        return LocationSet::unionOf(sets);
    }

    /// Where the Op may have locations at all.
    LocationSet presenceOf(const OpNode& op) {
        const LocationSet first = touchedThrough(op, 0, compare(nullptr, InputOf(op, 0)));
        return LocationSet::unionOf({first, touchedByPresence(op)});
    }

    static LocationSet touchedThrough(const OpNode& op, std::size_t input,
                                      const LocationSet& changed) {
        if (changed.isEmpty()) return {};
        return Answer([&] { return op.type->touchedThrough(op.args, input, changed); });
    }

    static bool endsWithEverything(const std::vector<LocationSet>& sets) {
        return !sets.empty() && sets.back().isEverything();
    }

    std::map<Key, LocationSet> sets;
};

} // namespace

LocationSet ChangedLocations(const std::shared_ptr<TellarRuntime::Op>& before,
                             const std::shared_ptr<TellarRuntime::Op>& after) {
    return GraphComparison().compare(NodeOf(before), NodeOf(after));
}

} // namespace OxOpType
