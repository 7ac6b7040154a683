#ifndef TELLAROPS_MERGECHECK_H
#define TELLAROPS_MERGECHECK_H

#include "BuiltinOp.h"

namespace TellarOps {

/// Warns of inputs of a Merge that are the same scene, and of locations to which several inputs
/// give a type, such as two imports of one file. An input that only edits a location has no type
/// there.
void CheckMerge(CheckContext& context);

} // namespace TellarOps

#endif
