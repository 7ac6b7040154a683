#include <OxLoggingHost/OxLoggerGlue.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>

#include "LogLevelList.h"

namespace {

constexpr const char* kLevelVariable = "OX_LOG_LEVEL";

struct LoggerState {
    std::atomic<OxLogLevel> threshold{OxLogLevel::warn};
    bool hasOwnLevel = false;
};

// Everything the process knows about logging.
//
// `mutex` guards all members; thresholds may also be read without it. A logger's entry
// never moves and is never removed, so that OxLoggerGlue may point at it. The mutex is
// never held while a sink runs.
struct LoggingState {
    std::mutex mutex;
    OxLogLevel defaultLevel = OxLogLevel::warn;
    std::map<std::string, LoggerState> loggers;
    std::shared_ptr<const OxLogSink> sink;
    std::vector<std::string> malformedEntries;
};

LoggingState* CreateLoggingState() {
    auto state = std::make_unique<LoggingState>();
    const char* text = std::getenv(kLevelVariable);
    LogLevelList list = ParseLogLevelList(text ? text : "");
    state->defaultLevel = list.defaultLevel;
    state->malformedEntries = std::move(list.malformedEntries);
    for (const auto& [name, level] : list.loggerLevels) {
        LoggerState& logger = state->loggers[name];
        logger.threshold.store(level, std::memory_order_relaxed);
        logger.hasOwnLevel = true;
    }
    return state.release();
}

LoggingState& GetLoggingState() {
    static LoggingState* const state = CreateLoggingState();
    return *state;
}

// The caller holds the state's mutex.
std::map<std::string, LoggerState>::value_type& FindOrAddLogger(LoggingState& state,
                                                                const std::string& name) {
    const auto [entry, isNew] = state.loggers.try_emplace(name);
    if (isNew) entry->second.threshold.store(state.defaultLevel, std::memory_order_relaxed);
    return *entry;
}

// One message stays one line, and nothing in it can drive the reader's terminal.
void AppendPrintable(std::string& line, const std::string& text) {
    constexpr const char* kHexDigits = "0123456789ABCDEF";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else if ((byte < 0x20 && c != '\t') || byte == 0x7F) {
            line += {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0xF]};
        } else {
            line += c;
        }
    }
}

std::string FormatLine(const OxLogMessage& message) {
    std::string line = "[";
    line += LogLevelName(message.level);
    line += "] ";
    AppendPrintable(line, message.loggerName);
    line += ": ";
    AppendPrintable(line, message.text);
    // A source file may have been compiled on another system: both separators count.
    const std::string fileName = message.file.substr(message.file.find_last_of("/\\") + 1);
    if (fileName.empty()) return line;
    line += " (";
    AppendPrintable(line, fileName);
    line += ':' + std::to_string(message.line) + ')';
    return line;
}

spdlog::sinks::sink* CreateStandardErrorSink() {
    auto sink = std::make_unique<spdlog::sinks::stderr_sink_mt>();
    sink->set_formatter(
        std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::local, "\n"));
    return sink.release();
}

void WriteToStandardError(const OxLogMessage& message) {
    static spdlog::sinks::sink* const sink = CreateStandardErrorSink();
    const std::string line = FormatLine(message);
    sink->log(spdlog::details::log_msg(message.loggerName, spdlog::level::critical, line));
}

// Whether this thread is inside a sink: what a sink logs must not come back to it.
thread_local bool insideSink = false;

class InsideSink {
public:
    InsideSink() { insideSink = true; }
    ~InsideSink() { insideSink = false; }
    InsideSink(const InsideSink&) = delete;
    InsideSink& operator=(const InsideSink&) = delete;
};

bool DeliverToSink(const OxLogSink& sink, const OxLogMessage& message) {
    const InsideSink inside;
    try {
        sink(message);
        return true;
    } catch (...) {
        return false;
    }
}

void Deliver(const OxLogMessage& message) {
    LoggingState& state = GetLoggingState();
    std::shared_ptr<const OxLogSink> sink;
    if (!insideSink) {
        const std::lock_guard<std::mutex> lock(state.mutex);
        sink = state.sink;
    }
    if (!sink || !DeliverToSink(*sink, message)) WriteToStandardError(message);
}

// Called by every way into logging once it has done its own work, so that a sink set
// first thing in the process gets the report too. Thresholds do not apply: the
// malformed entry may be the very one that was to set them.
void ReportMalformedEntries() {
    LoggingState& state = GetLoggingState();
    std::vector<std::string> entries;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        entries.swap(state.malformedEntries);
    }
    for (const std::string& entry : entries) {
        Deliver({"OxLoggingHost", OxLogLevel::warn,
                 std::string(kLevelVariable) + " has the malformed entry \"" + entry +
                     "\": levels are debug, info, warn, error and off",
                 __FILE__, __LINE__});
    }
}

} // namespace

OxLoggerGlue::OxLoggerGlue(const std::string& loggerName) {
    LoggingState& state = GetLoggingState();
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        const auto& entry = FindOrAddLogger(state, loggerName);
        name = &entry.first;
        threshold = &entry.second.threshold;
    }
    ReportMalformedEntries();
}

void OxLoggerGlue::debug(const std::string& message, const char* file, int line) const noexcept {
    log(OxLogLevel::debug, message, file, line);
}

void OxLoggerGlue::info(const std::string& message, const char* file, int line) const noexcept {
    log(OxLogLevel::info, message, file, line);
}

void OxLoggerGlue::warn(const std::string& message, const char* file, int line) const noexcept {
    log(OxLogLevel::warn, message, file, line);
}

void OxLoggerGlue::error(const std::string& message, const char* file, int line) const noexcept {
    log(OxLogLevel::error, message, file, line);
}

void OxLoggerGlue::log(OxLogLevel level, const std::string& message, const char* file,
                       int line) const noexcept {
    if (!isEnabled(level)) return;
    try {
        Deliver({*name, level, message, file ? file : "", line});
    } catch (...) {
        // Out of memory, or standard error is broken: there is nowhere left to say so.
    }
}

void OxLoggingSetLevel(const std::string& loggerName, OxLogLevel level) {
    LoggingState& state = GetLoggingState();
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        if (loggerName.empty()) {
            state.defaultLevel = level;
            for (auto& entry : state.loggers) {
                LoggerState& logger = entry.second;
                if (!logger.hasOwnLevel) logger.threshold.store(level, std::memory_order_relaxed);
            }
        } else {
            LoggerState& logger = FindOrAddLogger(state, loggerName).second;
            logger.threshold.store(level, std::memory_order_relaxed);
            logger.hasOwnLevel = true;
        }
    }
    ReportMalformedEntries();
}

OxLogLevel OxLoggingGetLevel(const std::string& loggerName) {
    LoggingState& state = GetLoggingState();
    OxLogLevel level = OxLogLevel::warn;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        const auto found = state.loggers.find(loggerName);
        const bool isKnown = !loggerName.empty() && found != state.loggers.end();
        level =
            isKnown ? found->second.threshold.load(std::memory_order_relaxed) : state.defaultLevel;
    }
    ReportMalformedEntries();
    return level;
}

OxLogSink OxLoggingSetSink(OxLogSink sink) {
    LoggingState& state = GetLoggingState();
    std::shared_ptr<const OxLogSink> next;
    if (sink) next = std::make_shared<const OxLogSink>(std::move(sink));
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.sink.swap(next);
    }
    ReportMalformedEntries();
    return next ? *next : OxLogSink();
}
