#ifndef TELLAR_TOOL_WATCHEDOP_H
#define TELLAR_TOOL_WATCHEDOP_H

#include <functional>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// The description behind an op that passes all locations on, tells of every cook, and fails at one
/// location unless `failing` is empty. Each call makes another op, with results of its own.
OxAttribute::GroupAttribute WithWatch(const OxAttribute::GroupAttribute& description,
                                      const std::string& failing = {});

/// Sets the function that is called before every cook of these ops, by any thread; null for none.
/// Returns when no thread is in the function before.
void WatchCooks(std::function<void(const std::string& location)> function);

} // namespace TellarTool

#endif
