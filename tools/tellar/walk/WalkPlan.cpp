#include "WalkPlan.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace TellarTool {

namespace {

using Ptr = TELLAR::GeometryProducer::Ptr;

/// Up to this number of children become parts of their own. More of them are cut into runs of
/// names, because cooking each of them is work for the threads.
constexpr std::size_t kFewChildren = 64;
/// A plan stops growing at this number of parts, which a deep and narrow scene reaches.
constexpr std::size_t kMostParts = 4096;

std::vector<std::string> PotentialChildren(TELLAR::GeometryProducer& location) {
    std::vector<std::string> names;
    for (const std::string_view name : location.getPotentialChildren().getNearestSample(0.0f))
        names.emplace_back(name);
    return names;
}

/// Whether every name leads to a child of its own, so that a walk may begin at any of them.
bool AreDistinct(const std::vector<std::string>& names) {
    std::unordered_set<std::string_view> seen;
    for (const std::string& name : names) {
        if (name == "." || name == ".." || name.find('/') != std::string::npos) return false;
        if (name.find('\0') != std::string::npos || !seen.insert(name).second) return false;
    }
    return true;
}

void AddChildren(const WalkPart& parent, Ptr child, std::vector<WalkPart>& parts) {
    while (child) {
        Ptr next = child->getNextSibling();
        WalkPart part{WalkPart::Subtree, std::move(child), parent.isLast, false, {}};
        part.isLast.push_back(!next);
        parts.push_back(std::move(part));
        child = std::move(next);
    }
}

void AddRuns(const WalkPart& parent, const std::vector<std::string>& names, std::size_t wanted,
             std::vector<WalkPart>& parts) {
    const std::size_t runs = std::min(names.size(), std::max<std::size_t>(wanted, 1));
    for (std::size_t run = 0; run < runs; ++run) {
        const auto begin = names.begin() + static_cast<std::ptrdiff_t>(run * names.size() / runs);
        const auto end =
            names.begin() + static_cast<std::ptrdiff_t>((run + 1) * names.size() / runs);
        parts.push_back({WalkPart::Run, parent.location, parent.isLast, false, {begin, end}});
    }
}

/// Replaces a subtree by its top and the parts below that. False when it cannot be cut.
bool Expand(const WalkPart& subtree, std::size_t depthLimit, std::size_t wanted,
            std::vector<WalkPart>& parts) {
    if (subtree.isLast.size() >= depthLimit) return false;
    const std::size_t before = parts.size();
    try {
        Ptr firstChild = subtree.location->getFirstChild();
        if (!firstChild) return false;
        const std::vector<std::string> names = PotentialChildren(*subtree.location);
        const bool hasMany = names.size() > kFewChildren;
        if (hasMany && !AreDistinct(names)) return false;
        parts.push_back({WalkPart::Open, subtree.location, subtree.isLast, true, {}});
        if (hasMany)
            AddRuns(subtree, names, wanted, parts);
        else
            AddChildren(subtree, std::move(firstChild), parts);
        parts.push_back({WalkPart::Close, subtree.location, subtree.isLast, true, {}});
        return true;
    } catch (const std::exception&) {
        // The error is reported when the walk comes to the location that fails.
        parts.resize(before);
        return false;
    }
}

std::size_t CountWork(const std::vector<WalkPart>& parts) {
    return static_cast<std::size_t>(
        std::count_if(parts.begin(), parts.end(), [](const WalkPart& part) {
            return part.kind == WalkPart::Subtree || part.kind == WalkPart::Run;
        }));
}

} // namespace

std::vector<WalkPart> PlanWalk(const Ptr& start, std::size_t depthLimit, std::size_t wanted) {
    std::vector<WalkPart> parts = {{WalkPart::Subtree, start, {}, false, {}}};
    bool isChanged = true;
    while (isChanged && CountWork(parts) < wanted && parts.size() < kMostParts) {
        isChanged = false;
        std::vector<WalkPart> finer;
        for (WalkPart& part : parts) {
            const bool isExpanded =
                part.kind == WalkPart::Subtree && Expand(part, depthLimit, wanted, finer);
            if (!isExpanded) finer.push_back(std::move(part));
            isChanged = isChanged || isExpanded;
        }
        parts = std::move(finer);
    }
    return parts;
}

} // namespace TellarTool
