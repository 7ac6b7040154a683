#ifndef OXTELLARSDK_XFORMUTIL_H
#define OXTELLARSDK_XFORMUTIL_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// Computes matrices from "xform" groups.
///
/// A group's children are applied from last to first: a location's own "xform" group
/// reads translate, rotate, scale, and its points are scaled first; a chain group of
/// locations ("i0", "i1", ... from the root down, as GeometryProducer::getGlobalXFormGroup
/// makes it) reads root first, and the leaf is applied first. A child's kind is told by
/// the beginning of its name:
///
///     translate  3 values
///     rotate     4 values: degrees, axis x, y, z; no rotation when the axis has no length
///     scale      3 values
///     shear      3 values: xy, xz, yz
///     matrix     16 values, row major
///     origin     any value, or none: ignore the children before it
///     any group  its children, in place, whatever its name
///
/// Vectors are rows: a point becomes p M, and the last row is the translation. Values may be
/// doubles, floats or integers, with time samples; they are interpolated linearly, integers as
/// doubles.
/// Children of other names or with too few values are skipped.
namespace OxXFormUtil {

/// The matrix at `time`, 16 doubles (tuple size 16) in one sample at that time, and whether any
/// child took part. The matrix is invalid when `xform` is invalid or no child took part.
OXTELLARSDK_API std::pair<OxAttribute::DoubleAttribute, bool>
CalcTransformMatrixAtTime(const OxAttribute::GroupAttribute& xform, float time);

/// The same, with one sample for every time at which some child that takes part has one.
OXTELLARSDK_API std::pair<OxAttribute::DoubleAttribute, bool>
CalcTransformMatrixAtExistingTimes(const OxAttribute::GroupAttribute& xform);

/// The number of values that a child of this name needs to take part: 3 for "translateX", 0 for
/// "origin". Nothing for a name that says no kind.
OXTELLARSDK_API std::optional<std::int64_t> ValuesOfStep(std::string_view name);

} // namespace OxXFormUtil

#endif
