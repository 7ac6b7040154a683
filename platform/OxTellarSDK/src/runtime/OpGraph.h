#ifndef OXTELLARSDK_OPGRAPH_H
#define OXTELLARSDK_OPGRAPH_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/CookObserver.h>
#include <OxTellarSDK/CookTrace.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "CookObservers.h"
#include "CookedIndex.h"
#include "LocationStore.h"
#include "NodePath.h"

namespace OxTellarRuntimeDetail {

/// Notes for a runtime that it has cooked a location, and where that is.
struct CookedBy {
    CookedIndex& index;
    NodeHandle handle;

    /// The caller has the node's guard or pin. Throws std::bad_alloc.
    void note(const LocationNode& node) {
        index.add(node.serial());
        handle = node.handle();
    }
};

/// The content of a TellarRuntime::Op. Its transaction changes it. It is immutable after the
/// commit, except for the store: see TellarRuntime::Client::takeResults.
struct OpNode {
    std::int32_t id = 0;
    std::string name;
    std::string place; // no part of the identity: Ops of several files share results
    std::string typeName;
    OxAttribute::GroupAttribute args;
    std::vector<std::shared_ptr<TellarRuntime::Op>> inputs;
    const void* transaction = nullptr;    // the transaction that may change it; null after its end
    std::unique_ptr<OpNode> nextReleased; // while a chain of Ops is destroyed

    // Set by the commit.
    OxAttribute::Hash identity;
    bool committed = false;
    bool inCycle = false;
    int depth = 0;                             // longest path to an Op without inputs
    std::shared_ptr<const std::string> defect; // why nothing can be cooked; null for a sound Op
    const OxOpType::OpType* type = nullptr;
    std::shared_ptr<LocationStore> store; // null with a defect, and while the results are taken

    static OpNode& Of(const TellarRuntime::Op& op) { return *op.node; }

    /// The Op in errors: "scene.json:14:5: Op \"name\" (Type)", or without the place.
    std::string label() const;

    /// Parses the arguments if no cook has done so. Throws TellarError when nothing can be cooked.
    void prepare() const;

    /// Cooks a location, or returns its existing result. An `eviction` other than 0 asks for a
    /// result made since that eviction. `by` may be null; it stays as it is when the path is not
    /// that of a location.
    TellarRuntime::LocationData cook(const std::string& path, std::uint32_t eviction,
                                     CookedBy* by = nullptr) const;
    /// The same for a child of a location of this Op's store; `index` is its place among the
    /// potential children of the parent. Invalid data when the parent was dropped or is another
    /// store's, and when the name is not one level of a path.
    TellarRuntime::LocationData cookChild(const NodeHandle& parent, std::string_view name,
                                          std::int64_t index, CookedBy& by) const;

    /// See OxOpType::TraceCook.
    OxOpType::CookTrace trace(const std::string& path) const;

private:
    /// Throws a CookError about a location; about the Op when `path` is null. `cause` has the
    /// reason as its text.
    [[noreturn]] void fail(const std::string* path, ErrorFacts cause) const;
    /// Calls code of the op type. What this throws becomes a CookError.
    template <typename Call>
    auto guarded(const NodePath* path, const Call& call) const;

    /// `find` looks a node up, under a guard. Invalid data if it finds none. A null `path` is put
    /// together if it is needed.
    template <typename Find>
    TellarRuntime::LocationData cookFound(const Find& find, const std::string* path,
                                          std::uint32_t eviction, CookedBy* by) const;
    // For a node that the caller has pinned.
    TellarRuntime::LocationData cookAt(LocationNode& node, const NodePath& path,
                                       std::uint32_t eviction) const;
    TellarRuntime::LocationData cookNow(LocationNode& node, const NodePath& path,
                                        std::uint32_t eviction) const;
    /// A new record with two references, for the node and for the caller.
    LocationRecord* compute(LocationNode& node, const NodePath& path, std::uint32_t eviction) const;
    template <typename Context, typename... More>
    TellarRuntime::LocationData computeWith(LocationNode& node, const NodePath& path,
                                            std::uint32_t eviction, More&... more) const;
    TellarRuntime::LocationData computeObserved(LocationNode& node, const NodePath& path,
                                                std::uint32_t eviction) const;
    OxOpType::ObservedCook observed(const NodePath& path) const;
    /// WaitForCook, which observers are told of.
    bool waitForCook(LocationNode& node, const NodePath& path) const;
    TellarRuntime::LocationData traceInto(OxOpType::CookTrace& trace,
                                          const std::string& path) const;
    void cookParent(LocationNode& node) const;
};

/// The calling thread runs code of the Op's type while this object lives. See
/// OxOpType::DescribeCurrentOp.
class CurrentOp {
public:
    explicit CurrentOp(const OpNode& op) noexcept;
    ~CurrentOp();
    CurrentOp(const CurrentOp&) = delete;
    CurrentOp& operator=(const CurrentOp&) = delete;

private:
    const OpNode* const outer;
};

/// The exception that leaves a cook. Its text and its facts name the Op, its type and the location.
class CookError : public TellarError {
public:
    using TellarError::TellarError;
};

/// Gives every Op that can be reached from `ops` its identity and the store of its results. An Op
/// that is part of a cycle, or depends on too many others, gets a defect instead. In OpCommit.cpp.
void CommitOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops);

/// The number of cooks in this process.
std::uint64_t NumberOfCooks();

} // namespace OxTellarRuntimeDetail

#endif
