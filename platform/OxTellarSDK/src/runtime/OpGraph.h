#ifndef OXTELLARSDK_OPGRAPH_H
#define OXTELLARSDK_OPGRAPH_H

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "LocationStore.h"

namespace OxTellarRuntimeDetail {

/// What stands behind a TellarRuntime::Op. Changed by its transaction, and immutable from the
/// commit on, but for the store: see TellarRuntime::Client::takeResults.
struct OpNode {
    std::int32_t id = 0;
    std::string name;
    std::string typeName;
    OxAttribute::GroupAttribute args;
    std::vector<std::shared_ptr<TellarRuntime::Op>> inputs;
    const void* transaction = nullptr;    // the one that may change it; null when that is gone
    std::unique_ptr<OpNode> nextReleased; // while Ops that held each other are destroyed

    // Made at commit.
    OxAttribute::Hash identity;
    bool committed = false;
    bool inCycle = false;
    int depth = 0;                             // longest way down to an Op without inputs
    std::shared_ptr<const std::string> defect; // why nothing can be cooked; null for a sound Op
    const OxOpType::OpType* type = nullptr;
    std::shared_ptr<LocationStore> store; // null with a defect, and while the results are taken

    static OpNode& Of(const TellarRuntime::Op& op) { return *op.node; }

    /// "Op \"name\" (Type)", the way errors name it.
    std::string label() const;

    /// Cooks a location, or finds it cooked. `eviction` other than 0 asks for a result made
    /// since that eviction. `*found` (may be null) receives the location's place in the store;
    /// null when the path names no location.
    TellarRuntime::LocationData cook(const std::string& path, std::uint32_t eviction,
                                     LocationNode** found = nullptr) const;

private:
    TellarRuntime::LocationData cookAt(LocationNode& node, const std::string& path,
                                       std::uint32_t eviction) const;
    TellarRuntime::LocationData cookNow(LocationNode& node, const std::string& path,
                                        std::uint32_t eviction) const;
    /// With two references, for the node and for the caller.
    LocationRecord* compute(LocationNode& node, const std::string& path,
                            std::uint32_t eviction) const;
};

/// What escapes from a cook: it names the Op, its type and the location already.
class CookError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Gives every Op that can be reached from `ops` its identity and its place to keep results.
/// An Op that is part of a cycle, or lies under too many others, gets a defect instead.
void CommitOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops);

/// Computations run in this process.
std::uint64_t NumberOfCooks();

} // namespace OxTellarRuntimeDetail

#endif
