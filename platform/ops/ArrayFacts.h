#ifndef TELLAROPS_ARRAYFACTS_H
#define TELLAROPS_ARRAYFACTS_H

#include <memory>

#include "ArrayState.h"
#include "BuiltinOp.h"

namespace TellarOps {

/// The facts of any location of an Array. Those of its source are counted as often as it is
/// repeated.
SubtreeFacts DescribeArray(SubtreeContext& context, const ArrayState& state);

/// The instances of an Array below its target or a group, and those of its input elsewhere.
std::shared_ptr<const Instances> DescribeArrayInstances(InstanceContext& context,
                                                        const ArrayState& state);

} // namespace TellarOps

#endif
