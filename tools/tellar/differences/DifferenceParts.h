#ifndef TELLAR_TOOL_DIFFERENCEPARTS_H
#define TELLAR_TOOL_DIFFERENCEPARTS_H

#include <exception>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

// What both printers of differences need.

/// True for values that are printed whole: few, in one time sample.
bool IsShort(const OxAttribute::Attribute& value);

/// The text of an error; empty for null.
std::string ErrorText(const std::exception_ptr& error);

} // namespace TellarTool

#endif
