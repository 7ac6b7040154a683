#include "Findings.h"

#include <algorithm>
#include <iterator>

namespace TELLAR {

namespace {

constexpr std::size_t kMostRemembered = 4096;

/// A problem that asks "did you mean" says what to do by that.
std::string TextOf(const std::string& problem, const CheckRule& rule) {
    if (!problem.empty() && problem.back() == '?') return problem;
    return problem + "; " + rule.advice;
}

} // namespace

Findings::Findings(std::array<bool, kRuleCount> wanted, std::size_t most)
    : wanted(wanted), most(most), mostKept(std::max(most, kMostRemembered)) {}

bool Findings::has(Rule rule, const OxAttribute::Hash& key) {
    OfRule& found = rules[static_cast<std::size_t>(rule)];
    const std::lock_guard<std::mutex> guard(found.lock);
    return found.byKey.count(key) > 0;
}

/// Whether a new finding at this place belongs to the first ones.
bool Findings::admit(OfRule& found, const Place& place) const {
    if (found.entries.size() < mostKept) return true;
    found.isIncomplete = true;
    return place < found.entries.rbegin()->first.first;
}

void Findings::dropLast(OfRule& found) const {
    found.isIncomplete = true;
    const auto last = std::prev(found.entries.end());
    if (last->second.key != OxAttribute::Hash()) found.byKey.erase(last->second.key);
    found.entries.erase(last);
}

void Findings::moveTo(CheckReport& report) {
    Sorted sorted;
    for (std::size_t rule = 0; rule < kRuleCount; ++rule) {
        if (rules[rule].count == 0) continue;
        const CheckRule& about = GetCheckRules()[rule];
        report.totals.push_back({about.name, about.severity, rules[rule].count});
        moveRule(rule, sorted);
    }
    for (auto& [order, finding] : sorted)
        report.findings.push_back(std::move(finding));
}

void Findings::moveRule(std::size_t rule, Sorted& sorted) {
    OfRule& found = rules[rule];
    const CheckRule& about = GetCheckRules()[rule];
    std::size_t listed = 0;
    for (auto& [order, entry] : found.entries) {
        if (listed++ == most) return;
        FoundProblem& problem = entry.problem;
        // The number of a finding depends on the threads, but its order among those of one rule at
        // one place does not: they come from one thread.
        std::tuple key(!problem.location.empty(), order.first, rule, order.second);
        sorted.emplace(std::move(key),
                       CheckFinding{about.name, about.severity, std::move(problem.location),
                                    std::move(problem.attribute), std::move(problem.op),
                                    std::move(problem.opType), std::move(problem.file),
                                    TextOf(problem.problem, about),
                                    found.isIncomplete ? 0 : entry.others});
    }
}

} // namespace TELLAR
