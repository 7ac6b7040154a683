#ifndef TELLAR_CHECK_FINDINGS_H
#define TELLAR_CHECK_FINDINGS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "CheckRules.h"
#include "Drafts.h"

namespace TELLAR {

/// The indices among potential children that lead to a location (VisitedLocation::place). In
/// lexicographical order, places are in the order of the scene.
using Place = std::vector<std::int64_t>;

/// All that a finding tells besides its rule.
struct FoundProblem {
    std::string location;
    std::string attribute;
    std::string op;
    std::string opType;
    std::string problem;
    std::string file = {};
};

/// The findings of a check. Of each rule it keeps the first ones in the order of the scene, and
/// counts all. Findings with equal keys are one, at the first of their places. So the result does
/// not depend on the order in which findings come, except that `others` may be too small of rules
/// with thousands of findings, where it is therefore left out.
///
/// Threads: any.
class Findings {
public:
    /// Keeps at most `most` findings of each of the rules in `wanted`.
    Findings(std::array<bool, kRuleCount> wanted, std::size_t most);

    bool isWanted(Rule rule) const { return wanted[static_cast<std::size_t>(rule)]; }

    /// Adds a finding unless its rule is not wanted. `describe()` returns a FoundProblem, and is
    /// called only if the finding is kept. Equal keys, which must not be the zero hash, tell
    /// findings that are one; those of the zero hash are all different.
    template <typename Describe>
    void add(Rule rule, const Place& place, const OxAttribute::Hash& key, const Describe& describe);

    /// Whether a finding with the key is kept.
    bool has(Rule rule, const OxAttribute::Hash& key);

    /// Describes a finding that was added with this key anew, if it is still kept.
    template <typename Describe>
    void describeAnew(Rule rule, const OxAttribute::Hash& key, const Describe& describe);

    /// Fills the lists of the report.
    void moveTo(CheckReport& report);

private:
    /// Where a finding is listed: at its place, in the order in which the findings of one place
    /// were added.
    using Order = std::pair<Place, std::uint64_t>;
    /// Findings about Ops first, then by place, rule and number.
    using Sorted = std::map<std::tuple<bool, Place, std::size_t, std::uint64_t>, CheckFinding>;
    struct Entry {
        OxAttribute::Hash key;
        FoundProblem problem;
        std::uint64_t others = 0;
    };
    struct OfRule {
        std::mutex lock; // guards the members below
        std::uint64_t count = 0;
        bool isIncomplete = false; // entries were dropped
        std::map<Order, Entry> entries;
        std::map<OxAttribute::Hash, Order> byKey;
    };

    bool admit(OfRule& found, const Place& place) const;
    void dropLast(OfRule& found) const;
    void moveRule(std::size_t rule, Sorted& sorted);

    const std::array<bool, kRuleCount> wanted;
    const std::size_t most;
    std::size_t mostKept; // of each rule, so that equal findings are recognised beyond `most`
    std::array<OfRule, kRuleCount> rules;
};

template <typename Describe>
void Findings::add(Rule rule, const Place& place, const OxAttribute::Hash& key,
                   const Describe& describe) {
    if (!isWanted(rule)) return;
    OfRule& found = rules[static_cast<std::size_t>(rule)];
    const std::lock_guard<std::mutex> guard(found.lock);
    ++found.count;
    Entry entry{key, {}, 0};
    const bool hasKey = key != OxAttribute::Hash();
    if (const auto known = hasKey ? found.byKey.find(key) : found.byKey.end();
        known != found.byKey.end()) {
        const auto at = found.entries.find(known->second);
        if (!(place < known->second.first)) {
            ++at->second.others;
            return;
        }
        entry.others = at->second.others + 1;
        found.entries.erase(at);
        found.byKey.erase(known);
    } else if (!admit(found, place)) {
        return;
    }
    entry.problem = describe();
    const Order order{place, found.count};
    if (hasKey) found.byKey.emplace(key, order);
    found.entries.emplace(order, std::move(entry));
    if (found.entries.size() > mostKept) dropLast(found);
}

template <typename Describe>
void Findings::describeAnew(Rule rule, const OxAttribute::Hash& key, const Describe& describe) {
    OfRule& found = rules[static_cast<std::size_t>(rule)];
    const std::lock_guard<std::mutex> guard(found.lock);
    const auto known = found.byKey.find(key);
    if (known != found.byKey.end()) found.entries.at(known->second).problem = describe();
}

} // namespace TELLAR

#endif
