#include "StaticFacts.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <OxTellarSDK/DelimiterCodec.h>

#include "StaticDescription.h"

namespace TellarOps {
namespace {

// One answer takes a few milliseconds at most.
constexpr std::int64_t kMostLocations = 16384;
constexpr std::int64_t kMostPoints = 1 << 20;
// The search calls itself for each level.
constexpr int kMostLevels = 256;
// About a megabyte.
constexpr std::size_t kMostKept = 4096;

/// Over all time samples.
std::int64_t NumberOfPoints(const GroupAttribute& attrs) {
    const Attribute points = attrs.getChildByName("geometry.point.P");
    const auto count = [](const auto& numbers) {
        return numbers.getNumberOfValues() / 3 * numbers.getNumberOfTimeSamples();
    };
    return count(OxAttribute::FloatAttribute(points)) + count(DoubleAttribute(points)) +
           count(IntAttribute(points));
}

} // namespace

/// The search for the facts of one location, which finds those of the locations below as well.
class StaticFacts::Search {
public:
    SubtreeFacts describe(const std::string& path, const GroupAttribute& description) {
        const GroupAttribute attrs = AttrsOf(description);
        const GroupAttribute children = ChildrenOf(description);
        const std::int64_t points = NumberOfPoints(attrs);
        locationsLeft -= 1;
        pointsLeft -= points;
        const bool areFewChildren = children.getNumberOfChildren() <= kMostLocations;
        SubtreeFacts facts = OxOpType::DescribeLocation(
            attrs, areFewChildren ? DecodedNames(children) : StringAttribute(),
            pointsLeft + points);
        if (!areFewChildren) {
            facts.children.reset();
            isGivenUp = true;
        }
        isGivenUp = isGivenUp || locationsLeft < 0 || pointsLeft < 0 || level == kMostLevels;
        ++level;
        if (!isGivenUp) addChildren(path, children, facts);
        --level;
        return facts;
    }

    /// The facts of the locations that have children, completely searched.
    std::vector<std::pair<std::string, SubtreeFacts>> found;

private:
    void addChildren(const std::string& path, const GroupAttribute& children, SubtreeFacts& facts) {
        SubtreeFacts sum = facts;
        sum.types = sum.ownTypes;
        sum.locations = 1;
        sum.bound = sum.ownBound;
        std::string childPath = path + '/';
        for (std::int64_t i = 0; i < children.getNumberOfChildren(); ++i) {
            const std::string name = OxAttribute::DelimiterDecode(children.getChildNameView(i));
            // The name has to be one level of a path, and that of no other child.
            const bool isLevel = !name.empty() && name.find('/') == std::string::npos;
            if (!isLevel || FindEncoded(children, name, i) != i) isGivenUp = true;
            const GroupAttribute description(children.getChildByIndex(i));
            childPath.resize(path.size() + 1);
            childPath += name;
            if (!isGivenUp && description.isValid()) add(describe(childPath, description), sum);
            if (isGivenUp) return;
        }
        if (children.getNumberOfChildren() > 0) found.emplace_back(path, sum);
        facts = std::move(sum);
    }

    static void add(const SubtreeFacts& child, SubtreeFacts& sum) {
        if (!child.types || !child.locations) return; // the search was given up
        sum.types = *sum.types | *child.types;
        sum.locations = *sum.locations + *child.locations;
        const auto moved = child.boundInParent();
        if (!moved) sum.bound.reset();
        if (sum.bound) sum.bound->add(*moved);
    }

    std::int64_t locationsLeft = kMostLocations;
    std::int64_t pointsLeft = kMostPoints;
    int level = 0;
    bool isGivenUp = false;
};

SubtreeFacts StaticFacts::find(const std::string& path, const GroupAttribute& description) const {
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto kept = known.find(path);
        if (kept != known.end()) return kept->second;
    }
    Search search;
    SubtreeFacts facts = search.describe(path, description);
    const std::lock_guard<std::mutex> guard(lock);
    if (known.size() + search.found.size() >= kMostKept) known.clear();
    for (auto& [foundPath, found] : search.found)
        if (known.size() < kMostKept) known.emplace(std::move(foundPath), std::move(found));
    known.emplace(path, facts);
    return facts;
}

} // namespace TellarOps
