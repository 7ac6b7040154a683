#ifndef TELLAR_PROFILE_PROFILESUMMARY_H
#define TELLAR_PROFILE_PROFILESUMMARY_H

#include <cstddef>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxTellarProducers/SceneProfile.h>
#include <OxTellarSDK/Attribute.h>

#include "CallTree.h"
#include "CostliestLocations.h"
#include "LongestEvents.h"

namespace TELLAR {

/// Joins the call trees of threads, and adds up by op and op type.
class ProfileSummary {
public:
    void add(const CallTree& thread);
    void setLocations(const std::vector<LocationCost>& costliest);
    /// To be called when all threads are added, whose ops the events name.
    void setEvents(const std::vector<CookEvent>& longest);
    /// To be called once, at the end.
    SceneProfile finish();

    SceneProfile profile; ///< with the ops and calls in the order in which they were added

private:
    std::size_t opOf(const OxAttribute::Hash& identity, const CallTree::Ops& known);
    std::size_t callOf(std::size_t parent, std::size_t op);
    template <typename IsSame>
    bool hasAncestor(std::size_t call, const IsSame& isSame) const;
    void addUpOps();
    void addUpTypes();
    void sortOps();

    std::unordered_map<OxAttribute::Hash, std::size_t, IdentityHash> ops;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> calls; // by parent and op
    std::vector<CookSums> sums;                                       // of profile.calls
};

} // namespace TELLAR

#endif
