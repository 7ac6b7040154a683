#ifndef TELLAR_PLATFORM_NAMEDLOGGER_H
#define TELLAR_PLATFORM_NAMEDLOGGER_H

#include <atomic>
#include <exception>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "ExceptionText.h"

// Logging in one line:
//
//     const NamedLogger kLogger("PluginManager");
//     ...
//     kLogger.warn("Passed over \"{}\": {}", file, reason);
//
// The message carries the file and line of that call. A function that logs for its callers takes
// their place as its last parameter and passes it on with the format:
//
//     void WarnAbout(const Plugin& plugin, LogPlace place = {}) {
//         kLogger.warn({"Plug-in \"{}\" has no name", place}, plugin.file);
//     }

/// A place in the source: where it is constructed, or, as a default argument, the place of the
/// call.
struct LogPlace {
    const char* file;
    int line;

#if defined(__GNUC__) || (defined(_MSC_VER) && _MSC_VER >= 1926)
    LogPlace(const char* file = __builtin_FILE(), int line = __builtin_LINE())
        : file(file), line(line) {}
#else
    LogPlace() : file(""), line(0) {}
#endif
};

/// A message in which each "{}" stands for one argument, in order, and the place that it reports.
/// A message without arguments is taken as it is.
struct LogFormat {
    const char* text;
    LogPlace place;

    LogFormat(const char* text, LogPlace place = {}) : text(text), place(place) {}
};

/// A constant for the messages of one logger. The logger itself is made when a message is first
/// logged, so that the constant can stand at namespace scope.
///
/// Any number of threads may share one. Nothing here throws: a message is dropped when there is no
/// memory for it or for the logger. Arguments may be strings, C strings, of which a null one is
/// empty, numbers and exceptions. The message is composed only when its level is enabled.
class NamedLogger {
public:
    /// The name must outlive the logger.
    explicit constexpr NamedLogger(const char* name) noexcept : name(name) {}

    template <typename... Arguments>
    void debug(LogFormat format, const Arguments&... arguments) const noexcept {
        log(&OxLoggerGlue::debugEnabled, &OxLoggerGlue::debug, format, arguments...);
    }
    template <typename... Arguments>
    void info(LogFormat format, const Arguments&... arguments) const noexcept {
        log(&OxLoggerGlue::infoEnabled, &OxLoggerGlue::info, format, arguments...);
    }
    template <typename... Arguments>
    void warn(LogFormat format, const Arguments&... arguments) const noexcept {
        log(&OxLoggerGlue::warnEnabled, &OxLoggerGlue::warn, format, arguments...);
    }
    template <typename... Arguments>
    void error(LogFormat format, const Arguments&... arguments) const noexcept {
        log(&OxLoggerGlue::errorEnabled, &OxLoggerGlue::error, format, arguments...);
    }

private:
    template <typename IsEnabled, typename Write, typename... Arguments>
    void log(IsEnabled isEnabled, Write write, LogFormat format,
             const Arguments&... arguments) const noexcept {
        try {
            const OxLoggerGlue& glue = getGlue();
            if (!(glue.*isEnabled)()) return;
            (glue.*write)(composed(format.text, {textOf(arguments)...}), format.place.file,
                          format.place.line);
        } catch (...) { // no memory
        }
    }

    const OxLoggerGlue& getGlue() const {
        const OxLoggerGlue* known = glue.load(std::memory_order_acquire);
        if (known) return *known;
        auto made = std::make_unique<const OxLoggerGlue>(name);
        // Another thread may have been first.
        if (!glue.compare_exchange_strong(known, made.get())) return *known;
        return *made.release();
    }

    static std::string composed(const char* format, std::initializer_list<std::string> arguments) {
        std::string message = format;
        std::size_t position = 0;
        for (const std::string& argument : arguments) {
            position = message.find("{}", position);
            if (position == std::string::npos) break;
            message.replace(position, 2, argument);
            position += argument.size();
        }
        return message;
    }

    static std::string textOf(const char* text) { return text ? text : ""; }
    static std::string textOf(std::string_view text) { return std::string(text); }
    static std::string textOf(const std::exception& exception) { return TELLAR::TextOf(exception); }
    template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number>>>
    static std::string textOf(Number number) {
        return std::to_string(number);
    }

    const char* name;
    // Null at first. Never deleted: messages may come at the very end of the process.
    mutable std::atomic<const OxLoggerGlue*> glue{nullptr};
};

#endif
