#ifndef TELLAR_PYTHON_VALUES_H
#define TELLAR_PYTHON_VALUES_H

#include <cstdint>
#include <string>
#include <string_view>

#include <Imath/ImathMatrix.h>
#include <OxTellarSDK/Attribute.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

// Attributes as Python sees them. All functions need the interpreter's lock.

/// Text as a str. Bytes that are not UTF-8 become lone surrogates, which BytesOf turns back.
nanobind::str TextOf(std::string_view bytes);
std::string BytesOf(nanobind::handle text);

/// The natural form of an attribute: a read-only array that shares the attribute's memory for
/// numbers, with the shape (values,) or (tuples, tuple size); a str for one string and a tuple of
/// them for any other number; a Group for a group; None for null. Of several time samples the one
/// nearest to time 0.
nanobind::object ValueOf(const OxAttribute::Attribute& attribute);
/// The same for the sample nearest to a time.
nanobind::object ValueAt(const OxAttribute::Attribute& attribute, float time);

/// Calls `function` with the attribute as what it is: numbers, or else strings. The latter are
/// invalid for a null or a group.
template <typename Function>
auto WithData(const OxAttribute::Attribute& attribute, Function function) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return function(OxAttribute::IntAttribute(attribute));
    case kAttributeTypeFloat:
        return function(OxAttribute::FloatAttribute(attribute));
    case kAttributeTypeDouble:
        return function(OxAttribute::DoubleAttribute(attribute));
    default:
        return function(OxAttribute::StringAttribute(attribute));
    }
}

bool IsNumeric(const OxAttribute::Attribute& attribute);

/// An Attribute or a Group, whichever it is.
nanobind::object HandleOf(const OxAttribute::Attribute& attribute);

/// A new array of the shape (rows, columns), or (rows,) when `columns` is 0, with a copy.
nanobind::object NewArray(const double* values, std::size_t rows, std::size_t columns);
nanobind::object NewMatrix(const Imath::Matrix44<double>& matrix);

} // namespace TellarPython

#endif
