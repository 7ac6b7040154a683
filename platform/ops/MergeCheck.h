#ifndef TELLAROPS_MERGECHECK_H
#define TELLAROPS_MERGECHECK_H

#include "BuiltinOp.h"

namespace TellarOps {

/// Warns of inputs of a Merge that are the same scene, and of locations that several of them give
/// a type, as two imports of one file do. An input that only edits a location has no type there.
void CheckMerge(CheckContext& context);

} // namespace TellarOps

#endif
