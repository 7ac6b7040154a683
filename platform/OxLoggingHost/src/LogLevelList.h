#ifndef OXLOGGINGHOST_LOGLEVELLIST_H
#define OXLOGGINGHOST_LOGLEVELLIST_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>

/// The thresholds in a text such as "warn,ClientFactory=debug".
struct LogLevelList {
    OxLogLevel defaultLevel = OxLogLevel::warn;
    std::map<std::string, OxLogLevel> loggerLevels;
    /// The entries that are neither a level nor name=level, as they were written.
    std::vector<std::string> malformedEntries;
};

/// Reads entries separated by commas; blanks around names and levels, the case of a
/// level and empty entries do not matter. The last entry for a logger wins.
LogLevelList ParseLogLevelList(std::string_view text);

/// "debug", "info", "warn", "error" or "off".
const char* LogLevelName(OxLogLevel level);

#endif
