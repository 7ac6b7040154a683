#ifndef OXTELLARSDK_BOUNDS_H
#define OXTELLARSDK_BOUNDS_H

#include <array>
#include <optional>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

namespace OxXFormUtil {

/// A box along the axes, as the attribute "bound" holds it. A value; it starts out empty.
struct OXTELLARSDK_API Bounds {
    /// x min, x max, y min, y max, z min, z max; a minimum above its maximum in an empty box.
    std::array<double, 6> values = {1, 0, 1, 0, 1, 0};

    bool isEmpty() const {
        return values[0] > values[1] || values[2] > values[3] || values[4] > values[5];
    }
    bool isFinite() const;

    /// Encloses the point as well. A point that is not finite is left out.
    void add(double x, double y, double z);
    /// Encloses the other box as well, unless that is empty.
    void add(const Bounds& other);

    /// The box around the transformed corners; empty for an empty box. `matrix` has 16 values, row
    /// by row, for row vectors.
    Bounds transformed(const double* matrix) const;
};

/// Encloses the box under an "xform" group (XFormUtil.h) at all times, also between samples, up to
/// rounding errors. Nothing if the group has an "origin", so that the result is not in the parent's
/// space, or if the result is not finite. An invalid group moves nothing.
OXTELLARSDK_API std::optional<Bounds> MoveBounds(const Bounds& bounds,
                                                 const OxAttribute::GroupAttribute& xform);

/// The matrix of an "xform" group that is the same at all times: 16 values, row by row, for row
/// vectors. Nothing if the group has an "origin" or a step with several time samples.
OXTELLARSDK_API std::optional<std::array<double, 16>>
RestingMatrix(const OxAttribute::GroupAttribute& xform);

} // namespace OxXFormUtil

#endif
