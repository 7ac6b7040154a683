#ifndef TELLAROPS_SHAREFACTS_H
#define TELLAROPS_SHAREFACTS_H

#include <memory>

#include "BuiltinOp.h"
#include "ShareState.h"

namespace TellarOps {

/// The facts of any location of a Share.
SubtreeFacts DescribeShare(SubtreeContext& context, const ShareState& state);

/// The instances of the input, below locations to which the Op adds nothing.
std::shared_ptr<const Instances> DescribeInstancesOfShare(InstanceContext& context,
                                                          const ShareState& state);

} // namespace TellarOps

#endif
