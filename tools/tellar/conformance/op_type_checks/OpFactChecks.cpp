// The check of what an op type tells about its locations without cooking them.
#include "OpTypeChecks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/SubtreeFacts.h>

#include "OpTypeUnderTest.h"
#include "SubtreeWalk.h"

namespace TellarTool {

namespace {

using OxOpType::Instances;
using OxOpType::SubtreeFacts;

constexpr std::size_t kMostPaths = 200;
constexpr std::size_t kMostInstances = 200;

/// The content of the subtree that was first seen with an identity.
using Identities = std::map<OxAttribute::Hash, std::string>;

void CompareFacts(const std::string& place, const SubtreeFacts& facts, const Subtree& found,
                  FirstFaults& faults) {
    const bool exists = found.locations > 0;
    if (facts.exists.value_or(exists) != exists)
        faults.add(place +
                   (exists ? "exists, and is told not to" : "does not exist, and is told to"));
    if (found.isCut) return;
    if (facts.locations.value_or(found.locations) != found.locations)
        faults.add(place + "has " + std::to_string(found.locations) + " locations, not " +
                   std::to_string(*facts.locations));
    if ((found.types & ~facts.types.value_or(found.types)) != 0)
        faults.add(place + "has location types that are not told");
    if (facts.bound && (found.leavesParent || !Encloses(*facts.bound, found.points)))
        faults.add(place + "has points outside of the bound that is told");
}

void CompareIdentity(const std::string& place, const SubtreeFacts& facts, const Subtree& found,
                     Identities& identities, FirstFaults& faults) {
    if (found.isCut || facts.identity == OxAttribute::Hash()) return;
    const auto [known, isNew] = identities.emplace(facts.identity, found.signature);
    if (!isNew && known->second != found.signature)
        faults.add(place + "has the identity of a location with other content");
}

void CompareInstance(const std::string& path, const Instances& instances, std::int64_t index,
                     SubtreeWalk& walk, FirstFaults& faults) {
    std::int64_t prototype = 0;
    double matrix[16];
    instances.read(index, index + 1, &prototype, matrix);
    const std::string instance = path + '/' + instances.path(index);
    if (prototype < 0 || static_cast<std::size_t>(prototype) >= instances.prototypes().size())
        return faults.add(instance + ": has a prototype that does not exist");
    const Subtree& found = walk.at(instance);
    const Subtree& expected =
        walk.at(path + '/' + instances.prototypes()[static_cast<std::size_t>(prototype)]);
    if (found.locations == 0) return faults.add(instance + ": is told, and does not exist");
    if (!found.isCut && found.signature != expected.signature)
        faults.add(instance + ": differs from its prototype");
    for (const float time : {0.0f, 1.0f, 7.0f})
        if (!IsNear(walk.matrixBetween(instance, path, time), matrix))
            return faults.add(instance + ": is not where its matrix says");
}

/// Every location below must be an instance, within one, or a plain group.
void ExpectAllTold(const std::string& path, const Instances& instances, SubtreeWalk& walk,
                   FirstFaults& faults) {
    std::vector<std::string> told;
    for (std::int64_t i = 0; i < instances.count(); ++i)
        told.push_back(path + '/' + instances.path(i));
    for (const std::string& location : walk.at(path).paths) {
        const bool isTold = std::any_of(told.begin(), told.end(), [&](const std::string& each) {
            return OxLocationPath::IsSelfOrBelow(location, each);
        });
        if (location != path && !isTold && !walk.isPlainGroup(location))
            faults.add(location + ": is not among the instances that are told");
    }
}

void CheckInstances(const std::string& path, const Instances& instances, SubtreeWalk& walk,
                    FirstFaults& faults) {
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(instances.count(), 0));
    const std::size_t step = std::max<std::size_t>(1, count / kMostInstances);
    for (std::size_t i = 0; i < count; i += step)
        CompareInstance(path, instances, static_cast<std::int64_t>(i), walk, faults);
    if (count <= kMostInstances && !walk.at(path).isCut)
        ExpectAllTold(path, instances, walk, faults);
}

void CheckCase(const OpCase& made, Identities& identities, FirstFaults& faults) {
    const auto client = made.open()->getClient();
    // The facts are asked for while nothing is cooked yet, and once more afterwards.
    const SubtreeFacts before = OxOpType::DescribeSubtree(*client, "/root");
    SubtreeWalk walk(client);
    CompareFacts(made.name + ", /root before it is cooked: ", before, walk.at("/root"), faults);
    std::vector<std::string> paths = PathsOf(*client, kMostPaths);
    paths.push_back(paths.back() + "/no such location");
    paths.emplace_back("/no such root");
    for (const std::string& path : paths) {
        if (Cook(*client, path).isError()) continue;
        const std::string place = made.name + ", " + path + ": ";
        const SubtreeFacts facts = OxOpType::DescribeSubtree(*client, path);
        CompareFacts(place, facts, walk.at(path), faults);
        CompareIdentity(place, facts, walk.at(path), identities, faults);
        const auto instances = OxOpType::DescribeInstances(*client, path);
        if (instances) CheckInstances(path, *instances, walk, faults);
    }
}

} // namespace

void CheckFacts(const Subject& subject, Verdict& verdict) {
    if (!subject.versions.empty() && !subject.hasVersion(OxOpType::kPluginApiVersion))
        return verdict.skip("op types of this version tell no facts");
    FirstFaults faults(verdict);
    Identities identities;
    for (const OpCase& made : UsableCases(subject, verdict))
        CheckCase(made, identities, faults);
}

} // namespace TellarTool
