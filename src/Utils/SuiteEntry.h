#ifndef TELLAR_SUITEENTRY_H
#define TELLAR_SUITEENTRY_H

#include <exception>
#include <string>

#include <OxLoggingHost/OxLoggerGlue.h>

namespace TELLAR {

/// Runs the body of a suite's entry. No exception gets through to C: it is logged at error level
/// with the entry's name, and the entry returns null, 0 or nothing.
template <typename Body>
auto RunSuiteEntry(const OxLoggerGlue& logger, const char* entry, Body body) noexcept
    -> decltype(body()) {
    const auto log = [&](const char* reason) noexcept {
        try {
            if (logger.errorEnabled())
                logger.error(std::string(entry) + ": " + reason, __FILE__, __LINE__);
        } catch (...) { // no memory for the message
        }
    };
    try {
        return body();
    } catch (const std::exception& error) {
        log(error.what());
    } catch (...) {
        log("unknown exception");
    }
    return decltype(body())();
}

} // namespace TELLAR

#endif
