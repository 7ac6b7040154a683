#ifndef TELLAR_TOOL_ZIPFILE_H
#define TELLAR_TOOL_ZIPFILE_H

#include <string>

#include "StopSignals.h"

namespace TellarTool {

/// Writes all files below `folder` into a new zip file, each with `prefix` and a slash in front of
/// its path. The complete file replaces an older one atomically. Throws
/// std::runtime_error naming the file and the reason, and Stopped after a signal.
void WriteZip(const std::string& file, const std::string& folder, const std::string& prefix,
              const StopSignals& signals);

} // namespace TellarTool

#endif
