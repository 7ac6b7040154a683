#ifndef TELLAROPS_PLACEMENT_H
#define TELLAROPS_PLACEMENT_H

#include <cstdint>
#include <memory>

#include "BuiltinOp.h"

namespace TellarOps {

/// Computes the transform of each instance of an array from its index. Immutable.
class Placement {
public:
    virtual ~Placement() = default;
    virtual std::uint64_t count() const = 0;
    /// The transform of one instance, as "xform" holds it.
    virtual GroupAttribute transform(std::uint64_t index) const = 0;
};

/// Reads the arguments of a grid: index counts along x first, then y, then z.
std::unique_ptr<const Placement> ReadGrid(const ArgReader& args);

/// Reads the arguments of a scatter. The same seed gives the same doubles on every machine.
std::unique_ptr<const Placement> ReadScatter(const ArgReader& args);

} // namespace TellarOps

#endif
