#ifndef TELLAROPS_INSTANCINGSTATE_H
#define TELLAROPS_INSTANCINGSTATE_H

#include <memory>
#include <string>
#include <string_view>

#include "BuiltinOp.h"
#include "InstanceChoice.h"
#include "InstanceTree.h"
#include "PathTable.h"
#include "Placement.h"

namespace TellarOps {

/// The prepared arguments of an op type that repeats locations (InstancingOp.h).
struct InstancingState : State {
    PathTable sources;
    std::string target;
    bool keepsSources = false;
    std::shared_ptr<const Placement> placement;
    std::shared_ptr<const InstanceChoice> choice = std::make_shared<const InstanceChoice>();
    InstanceTree tree;

    /// The place of a location in the tree of instances.
    InstanceTree::Place find(std::string_view path) const;
    /// The path of the source that an instance shows.
    std::string sourceOf(std::uint64_t instance) const;
    /// Whether the location is a source that is hidden, or lies below one.
    bool hides(std::string_view path) const;
    /// Whether a source lies below the location and is hidden there.
    bool hidesBelow(std::string_view path) const;
    /// The children of a group of the tree, without hidden instances.
    StringAttribute childNames(const InstanceTree::Place& group) const;
};

/// The beginning of the name of an instance's own transform.
constexpr std::string_view kInstancePrefix = "instance";

} // namespace TellarOps

#endif
