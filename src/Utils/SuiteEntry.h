#ifndef TELLAR_SUITEENTRY_H
#define TELLAR_SUITEENTRY_H

#include <exception>
#include <string>

#include <OxLoggingHost/OxLoggerGlue.h>

namespace TELLAR {

/// An entry of a suite by its name, and the place in the source that messages about it tell: where
/// the name stands.
struct SuiteEntry {
    const char* name;
    const char* file;
    int line;

    SuiteEntry(const char* name, const char* file = __builtin_FILE(), int line = __builtin_LINE())
        : name(name), file(file), line(line) {}
};

/// The exception's text. Classes of plug-ins may give null for one.
inline const char* TextOf(const std::exception& exception) {
    const char* text = exception.what();
    return text ? text : "an exception without a text";
}

/// Logs at error level what an entry threw. `getReason` is called only when that level is enabled.
/// Does not throw: without memory for the logger or the message there is none.
template <typename GetLogger, typename GetReason>
void LogFailedEntry(GetLogger getLogger, const SuiteEntry& entry, GetReason getReason) noexcept {
    try {
        const OxLoggerGlue& logger = getLogger();
        if (logger.errorEnabled())
            logger.error(std::string(entry.name) + ": " + getReason(), entry.file, entry.line);
    } catch (...) { // no memory
    }
}

/// Runs the body of a suite's entry. No exception gets through to C: it is logged at error level
/// with the entry's name, and the entry returns null, 0 or nothing. The logger is asked for only
/// then: it may have to be made first.
template <typename GetLogger, typename Body>
auto RunSuiteEntry(GetLogger getLogger, const SuiteEntry& entry, Body body) noexcept
    -> decltype(body()) {
    try {
        return body();
    } catch (const std::exception& error) {
        LogFailedEntry(getLogger, entry, [&] { return TextOf(error); });
    } catch (...) {
        LogFailedEntry(getLogger, entry, [] { return "unknown exception"; });
    }
    return decltype(body())();
}

} // namespace TELLAR

#endif
