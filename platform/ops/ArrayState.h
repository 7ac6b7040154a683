#ifndef TELLAROPS_ARRAYSTATE_H
#define TELLAROPS_ARRAYSTATE_H

#include <memory>
#include <string>
#include <string_view>

#include "BuiltinOp.h"
#include "InstanceTree.h"
#include "Placement.h"

namespace TellarOps {

/// The prepared arguments of an Array.
struct ArrayState : State {
    std::string source;
    std::string target;
    bool keepsSource = false;
    std::shared_ptr<const Placement> placement;
    InstanceTree tree;

    /// The place of a location in the tree of instances.
    InstanceTree::Place find(std::string_view path) const;
    /// Whether the source lies below the location and is hidden there.
    bool hidesSourceBelow(std::string_view path) const;
};

/// The beginning of the name of an instance's own transform.
constexpr std::string_view kInstancePrefix = "instance";

} // namespace TellarOps

#endif
