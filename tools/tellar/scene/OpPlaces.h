#ifndef TELLAR_TOOL_OPPLACES_H
#define TELLAR_TOOL_OPPLACES_H

#include <string>

#include <OxTellarProducers/OpTreeSource.h>

namespace TellarTool {

// The places of the ops of all scenes that this process has read, for reports that have the names
// of ops alone. Whoever has the op asks TellarRuntime::Op::getPlace. For the main thread.

/// Remembers the places of the ops of a scene.
void RememberOps(const TELLAR::OpPlaces& places);

/// The place "scene.json:14:5" or "scene.oxop"; empty for an unknown op.
std::string PlaceOfOp(const std::string& name);

} // namespace TellarTool

#endif
