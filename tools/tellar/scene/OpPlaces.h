#ifndef TELLAR_TOOL_OPPLACES_H
#define TELLAR_TOOL_OPPLACES_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

namespace TellarTool {

// Where the ops of the scenes that this process has read stand. For the main thread.

/// Remembers the ops of a description that was read from `source`. Those without a place in `told`
/// stand at `source` as a whole.
void RememberOps(const std::string& source, const OxAttribute::GroupAttribute& description,
                 const OxAttribute::DescriptionText& told);

/// "scene.json:14:5" or "scene.oxop"; empty for an op that no scene has.
std::string PlaceOfOp(const std::string& name);

/// An error about an op, 'Op "row" (Array) ...', with the op's place in front. Other errors are
/// returned as they are.
std::string WithPlace(const std::string& error);

} // namespace TellarTool

#endif
