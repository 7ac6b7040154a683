#include "ProfileSummary.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace TELLAR {

namespace {

bool IsCostlier(const CookTotals& a, const CookTotals& b) {
    return a.ownSeconds > b.ownSeconds;
}

} // namespace

void ProfileSummary::add(const CallTree& thread) {
    const std::vector<CallTree::Node>& nodes = thread.getNodes();
    std::vector<std::size_t> joined(nodes.size(), ProfiledCall::kNoParent);
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        const std::size_t op = opOf(nodes[i].identity, thread.getOps());
        joined[i] = callOf(joined[nodes[i].parent], op);
        sums[joined[i]].add(nodes[i].sums);
    }
    profile.callsMerged += thread.getNumberOfMerged();
}

void ProfileSummary::setLocations(const std::vector<LocationCost>& costliest) {
    for (const LocationCost& cost : costliest)
        profile.locations.push_back({cost.path, TotalsOf(cost.sums)});
}

void ProfileSummary::setEvents(const std::vector<CookEvent>& longest) {
    for (const CookEvent& event : longest) {
        const auto op = ops.find(event.opIdentity);
        if (op == ops.end()) continue; // memory was missing for its call
        profile.events.push_back({event.kind, op->second, event.thread, event.location,
                                  double(event.start) * kSecondsPerNanosecond,
                                  double(event.duration) * kSecondsPerNanosecond, event.bytesMade,
                                  event.hasFailed});
    }
}

SceneProfile ProfileSummary::finish() {
    CookSums all;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        profile.calls[i].totals = TotalsOf(sums[i]);
        CookSums counted = sums[i];
        if (profile.calls[i].parent != ProfiledCall::kNoParent) counted.total = 0;
        all.add(counted);
    }
    profile.totals = TotalsOf(all);
    const std::uint64_t events = all.cooks + all.waits;
    profile.eventsLeftOut = events - std::min<std::uint64_t>(events, profile.events.size());
    addUpOps();
    addUpTypes();
    sortOps();
    return std::move(profile);
}

std::size_t ProfileSummary::opOf(const OxAttribute::Hash& identity, const CallTree::Ops& known) {
    const auto [entry, isNew] = ops.emplace(identity, profile.ops.size());
    if (isNew) {
        const CallTree::Op& op = known.at(identity);
        profile.ops.push_back({op.name, op.type, identity, {}});
    }
    return entry->second;
}

std::size_t ProfileSummary::callOf(std::size_t parent, std::size_t op) {
    const auto [entry, isNew] = calls.emplace(std::make_pair(parent, op), profile.calls.size());
    if (isNew) {
        profile.calls.push_back({parent, op, {}});
        sums.emplace_back();
    }
    return entry->second;
}

/// Whether the op of a call above this one is the same.
template <typename IsSame>
bool ProfileSummary::hasAncestor(std::size_t call, const IsSame& isSame) const {
    const std::size_t op = profile.calls[call].op;
    for (std::size_t above = profile.calls[call].parent; above != ProfiledCall::kNoParent;
         above = profile.calls[above].parent)
        if (isSame(profile.calls[above].op, op)) return true;
    return false;
}

void ProfileSummary::addUpOps() {
    std::vector<CookSums> added(profile.ops.size());
    for (std::size_t i = 0; i < sums.size(); ++i) {
        CookSums counted = sums[i];
        if (hasAncestor(i, [](std::size_t a, std::size_t b) { return a == b; })) counted.total = 0;
        added[profile.calls[i].op].add(counted);
    }
    for (std::size_t i = 0; i < added.size(); ++i)
        profile.ops[i].totals = TotalsOf(added[i]);
}

void ProfileSummary::addUpTypes() {
    struct Type {
        std::size_t ops = 0;
        CookSums sums;
    };
    std::map<std::string, Type> types;
    for (const ProfiledOp& op : profile.ops)
        ++types[op.type].ops;
    for (std::size_t i = 0; i < sums.size(); ++i) {
        CookSums counted = sums[i];
        const auto isSame = [&](std::size_t a, std::size_t b) {
            return profile.ops[a].type == profile.ops[b].type;
        };
        if (hasAncestor(i, isSame)) counted.total = 0;
        types[profile.ops[profile.calls[i].op].type].sums.add(counted);
    }
    for (const auto& [name, type] : types)
        profile.opTypes.push_back({name, type.ops, TotalsOf(type.sums)});
    std::stable_sort(profile.opTypes.begin(), profile.opTypes.end(),
                     [](const ProfiledOpType& a, const ProfiledOpType& b) {
                         return IsCostlier(a.totals, b.totals);
                     });
}

/// Sorts the ops, and numbers them anew where they are referred to.
void ProfileSummary::sortOps() {
    std::vector<std::size_t> order(profile.ops.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
        return IsCostlier(profile.ops[a].totals, profile.ops[b].totals);
    });
    std::vector<std::size_t> places(order.size());
    std::vector<ProfiledOp> sorted;
    for (std::size_t i = 0; i < order.size(); ++i) {
        places[order[i]] = i;
        sorted.push_back(profile.ops[order[i]]);
    }
    profile.ops = std::move(sorted);
    for (ProfiledCall& call : profile.calls)
        call.op = places[call.op];
    for (ProfiledEvent& event : profile.events)
        event.op = places[event.op];
}

} // namespace TELLAR
