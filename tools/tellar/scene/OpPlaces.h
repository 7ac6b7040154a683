#ifndef TELLAR_TOOL_OPPLACES_H
#define TELLAR_TOOL_OPPLACES_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

namespace TellarTool {

// The places, file and line, of the ops of all scenes that this process has read. For the main
// thread.

/// Remembers the ops of a description that was read from `source`. The place of an op that `told`
/// does not contain is `source` alone.
void RememberOps(const std::string& source, const OxAttribute::GroupAttribute& description,
                 const OxAttribute::DescriptionText& told);

/// The place "scene.json:14:5" or "scene.oxop"; empty for an unknown op.
std::string PlaceOfOp(const std::string& name);

/// An error about an op, 'Op "row" (Array) ...', with the op's place in front. Other errors are
/// returned as they are.
std::string WithPlace(const std::string& error);

} // namespace TellarTool

#endif
