#ifndef TELLAR_PYTHON_ARGUMENTS_H
#define TELLAR_PYTHON_ARGUMENTS_H

#include <optional>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

// Attributes made from what Python gives. All functions need the interpreter's lock.

/// The attribute that a Python value describes:
///
///     None             null
///     bool, int        int
///     float            double
///     str, bytes       string
///     an array         int, float or double by its type; axes after the first make the tuple
///     a sequence       strings, or what numpy makes of it
///     a mapping        a group; dotted keys make groups in groups
///     Attribute, Group itself
///
/// Throws nanobind's exceptions: TypeError for anything else, OverflowError for integers that do
/// not fit into 32 bits.
OxAttribute::Attribute AttributeFrom(nanobind::handle value);

/// The same, converted to a type ("int", "float", "double", "string"; empty for any) and with the
/// tuple size (0 for the value's own).
OxAttribute::Attribute AttributeFrom(nanobind::handle value, const std::string& type,
                                     std::int64_t tupleSize);

OxAttribute::GroupAttribute GroupFrom(nanobind::handle mapping, bool inherit);

/// An attribute with time samples from a mapping of times to values of one shape and type.
OxAttribute::Attribute SamplesFrom(nanobind::handle mapping, const std::string& type,
                                   std::int64_t tupleSize);

} // namespace TellarPython

#endif
