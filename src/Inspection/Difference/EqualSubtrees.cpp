#include "EqualSubtrees.h"

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/SubtreeFacts.h>

namespace TELLAR {

namespace {

using namespace std::chrono_literals;

// The time that a location takes that is cooked in both scenes and compared.
constexpr std::chrono::nanoseconds kTimeOfLocation = 1us;

// Questions may waste this, and a part of the time of the whole comparison.
constexpr std::chrono::nanoseconds kMostWasted = 10ms;
constexpr int kPartOfTime = 10;

} // namespace

EqualSubtrees::EqualSubtrees(TellarRuntime::Client& oldClient, TellarRuntime::Client& newClient)
    : oldClient(oldClient), newClient(newClient),
      haveOps(oldClient.getOp() != nullptr && newClient.getOp() != nullptr) {}

bool EqualSubtrees::areEqualBelow(const std::string& path) {
    if (!haveOps) return false;
    const Clock::time_point asked = Clock::now();
    if (wasted > kMostWasted + (asked - start) / kPartOfTime) return false;
    const OxOpType::SubtreeFacts facts = OxOpType::DescribeSubtree(newClient, path);
    const bool areEqual = facts.identity != OxAttribute::Hash() &&
                          facts.identity == OxOpType::DescribeSubtree(oldClient, path).identity;
    const Clock::duration taken = Clock::now() - asked;
    const bool isWorthIt = areEqual && taken < facts.locations.value_or(0) * kTimeOfLocation;
    if (!isWorthIt) wasted += taken;
    return areEqual;
}

} // namespace TELLAR
