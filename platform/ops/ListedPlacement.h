#ifndef TELLAROPS_LISTEDPLACEMENT_H
#define TELLAROPS_LISTEDPLACEMENT_H

#include <memory>

#include "Placement.h"

namespace TellarOps {

/// Reads the arguments "matrices", or "translates", "rotates" and "scales", which hold the place of
/// each instance. The numbers stay in the arguments.
std::unique_ptr<const Placement> ReadListed(const ArgReader& args);

/// The arguments that ReadListed() reads, for descriptions.
std::vector<OxOpType::Argument> ListedArguments();

} // namespace TellarOps

#endif
