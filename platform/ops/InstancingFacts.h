#ifndef TELLAROPS_INSTANCINGFACTS_H
#define TELLAROPS_INSTANCINGFACTS_H

#include <memory>

#include "BuiltinOp.h"
#include "InstancingState.h"

namespace TellarOps {

/// The facts of any location of an Op that repeats locations. Those of its sources are counted as
/// often as they are repeated.
SubtreeFacts DescribeInstancing(SubtreeContext& context, const InstancingState& state);

/// The instances of such an Op below its target or a group, and those of its input elsewhere.
std::shared_ptr<const Instances> DescribeInstancesOf(InstanceContext& context,
                                                     const InstancingState& state);

} // namespace TellarOps

#endif
