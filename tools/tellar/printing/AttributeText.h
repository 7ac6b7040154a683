#ifndef TELLAR_TOOL_ATTRIBUTETEXT_H
#define TELLAR_TOOL_ATTRIBUTETEXT_H

#include <functional>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// One line a value, whatever is nested: `line` gets the dotted name (below `name`) and the
/// value, shortened, with its type and how many there are.
///
///     geometry.point.P   0 0 0, 1 0 0, 1 1 0, ... (float, 8 x 3)
void ForEachValue(
    const std::string& name, const OxAttribute::Attribute& attribute,
    const std::function<void(const std::string& name, const std::string& value)>& line);

/// The value alone.
std::string DescribeValue(const OxAttribute::Attribute& attribute);

} // namespace TellarTool

#endif
