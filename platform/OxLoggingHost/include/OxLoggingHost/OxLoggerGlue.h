#ifndef OXLOGGINGHOST_OXLOGGERGLUE_H
#define OXLOGGINGHOST_OXLOGGERGLUE_H

#include <atomic>
#include <functional>
#include <string>

#include <OxLoggingHost/Export.h>

/// How serious a message is, in ascending order. As a threshold, a level lets
/// through itself and everything above; `off` lets nothing through.
enum class OxLogLevel { debug, info, warn, error, off };

/// One message on its way to a sink.
struct OxLogMessage {
    std::string loggerName;
    OxLogLevel level = OxLogLevel::error;
    std::string text;
    /// The source file as the caller named it, usually __FILE__; empty when unknown.
    std::string file;
    int line = 0;
};

using OxLogSink = std::function<void(const OxLogMessage&)>;

/// A named logger: a small handle on state that all loggers of the same name share
/// for as long as the process lives. Copy it freely.
///
/// Any number of threads may share one logger. Logging never throws: a message that
/// cannot be delivered is dropped.
class OXLOGGINGHOST_API OxLoggerGlue {
public:
    explicit OxLoggerGlue(const std::string& loggerName);

    /// Each of these delivers the message if its level passes the logger's threshold.
    /// `file` may be null.
    void debug(const std::string& message, const char* file, int line) const noexcept;
    void info(const std::string& message, const char* file, int line) const noexcept;
    void warn(const std::string& message, const char* file, int line) const noexcept;
    void error(const std::string& message, const char* file, int line) const noexcept;

    /// Whether a message of the level would be delivered. One relaxed atomic load: ask
    /// before composing a message that costs something.
    bool debugEnabled() const noexcept { return isEnabled(OxLogLevel::debug); }
    bool infoEnabled() const noexcept { return isEnabled(OxLogLevel::info); }
    bool warnEnabled() const noexcept { return isEnabled(OxLogLevel::warn); }
    bool errorEnabled() const noexcept { return isEnabled(OxLogLevel::error); }

private:
    bool isEnabled(OxLogLevel level) const noexcept {
        return level >= threshold->load(std::memory_order_relaxed);
    }
    void log(OxLogLevel level, const std::string& message, const char* file,
             int line) const noexcept;

    // Both point into the process-wide table of loggers, which is never destroyed.
    const std::string* name;
    const std::atomic<OxLogLevel>* threshold;
};

/// Sets the threshold of one logger, also of one that does not exist yet. With an empty
/// name it sets the default, which every logger follows that has no level of its own.
///
/// The first levels come from the environment variable OX_LOG_LEVEL, for example "warn"
/// or "warn,ClientFactory=debug"; without it the default is warn. A malformed entry in
/// it is reported once, as a warning of the logger "OxLoggingHost", and ignored.
OXLOGGINGHOST_API void OxLoggingSetLevel(const std::string& loggerName, OxLogLevel level);

/// The threshold that a logger of this name has; with an empty name, the default.
OXLOGGINGHOST_API OxLogLevel OxLoggingGetLevel(const std::string& loggerName);

/// Sends every message that passes its logger's threshold to `sink` from now on, and
/// returns the sink before it, empty for the default output. An empty or null sink
/// restores the default: one line a message on standard error, such as
///
///     [error] ClientFactory: text (ClientFactory.cpp:123)
///
/// in which control characters other than tabs are written as escapes.
///
/// A sink is called by the thread that logs, by several at once when several log. A call
/// that began before the sink was replaced may still be under way after it. What a sink
/// itself logs, and any message on which it throws, goes to standard error.
OXLOGGINGHOST_API OxLogSink OxLoggingSetSink(OxLogSink sink);

#endif
