#ifndef TELLAR_TOOL_ATTRIBUTETEXT_H
#define TELLAR_TOOL_ATTRIBUTETEXT_H

#include <cstddef>
#include <functional>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// Calls `line` for every value, also for those in nested groups, with its dotted name, which
/// begins with `name`, and its description.
///
///     geometry.point.P   0 0 0, 1 0 0, 1 1 0, ... (float, 8 x 3)
void ForEachValue(
    const std::string& name, const OxAttribute::Attribute& attribute,
    const std::function<void(const std::string& name, const std::string& value)>& line);

/// More values than this are shortened; a matrix still shows whole.
constexpr std::size_t kShownValues = 16;

/// The values nearest to time 0, at most so many, with their type and number.
std::string DescribeValue(const OxAttribute::Attribute& attribute,
                          std::size_t mostValues = kShownValues);

/// The type and number of values alone: "(float, 8 x 3, 2 samples from 0 to 1)". Empty for a single
/// string, for groups and null values.
std::string DescribeShape(const OxAttribute::Attribute& attribute);

/// "int", "float", "double", "string", "group" or "null"; empty for an invalid attribute.
const char* TypeName(const OxAttribute::Attribute& attribute);

/// The value as one with tuples and time samples; invalid for groups and null values.
OxAttribute::DataAttribute DataOf(const OxAttribute::Attribute& attribute);

} // namespace TellarTool

#endif
