#ifndef TELLAROPS_PLACEMENT_H
#define TELLAROPS_PLACEMENT_H

#include <array>
#include <cstdint>
#include <memory>

#include <OxTellarSDK/Bounds.h>

#include "BuiltinOp.h"

namespace TellarOps {

using Matrix = std::array<double, 16>;

/// Computes the transform of each instance of an array from its index. Immutable.
class Placement {
public:
    virtual ~Placement() = default;
    virtual std::uint64_t count() const = 0;
    /// The transform of one instance, as "xform" holds it.
    virtual GroupAttribute transform(std::uint64_t index) const = 0;
    /// Whether transforms have several time samples.
    virtual bool isMoving() const { return false; }
    /// The transform of an instance that does not move as a matrix: 16 values, row by row, for row
    /// vectors.
    virtual Matrix matrix(std::uint64_t index) const = 0;
    /// Encloses a box that is moved by the transforms of the instances in [begin, end), at all
    /// times. The result is not finite when there is no such box.
    virtual OxXFormUtil::Bounds move(const OxXFormUtil::Bounds& box, std::uint64_t begin,
                                     std::uint64_t end) const = 0;
};

/// Reads the arguments of a grid: index counts along x first, then y, then z.
std::unique_ptr<const Placement> ReadGrid(const ArgReader& args);

/// Reads the arguments of a scatter. The same seed gives the same doubles on every machine.
std::unique_ptr<const Placement> ReadScatter(const ArgReader& args);

} // namespace TellarOps

#endif
