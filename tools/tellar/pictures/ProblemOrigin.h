#ifndef TELLAR_TOOL_PROBLEMORIGIN_H
#define TELLAR_TOOL_PROBLEMORIGIN_H

#include <memory>
#include <string>

#include <OxTellarSDK/TellarRuntime.h>

namespace TellarTool {

/// The op that is the origin of a problem which a renderer tells: 'set by "grass" (AttributeEdit),
/// scene.json:14:5'. The message begins with the path of a location and a colon, and has the name
/// of the attribute between quotation marks; without one it is the op that made the location. Empty
/// for other messages, and for those that name an op already.
std::string OriginOfProblem(const std::shared_ptr<TellarRuntime::Client>& client,
                            const std::string& message);

} // namespace TellarTool

#endif
