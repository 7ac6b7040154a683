#ifndef TELLAR_PLATFORM_SUITEENTRY_H
#define TELLAR_PLATFORM_SUITEENTRY_H

#include <exception>

#include "NamedLogger.h"

// Functions in the tables that C code calls: no exception may leave them.

namespace TELLAR {

/// The name of an entry, and the place in the source that its messages carry: where the name is
/// written.
struct SuiteEntry {
    const char* name;
    LogPlace place;

    SuiteEntry(const char* name, LogPlace place = {}) : name(name), place(place) {}
};

/// Runs the body of an entry. If it throws, the exception is logged as an error with the name of
/// the entry, which then returns null, 0 or nothing.
template <typename Body>
auto RunSuiteEntry(const NamedLogger& logger, const SuiteEntry& entry, Body body) noexcept
    -> decltype(body()) {
    try {
        return body();
    } catch (const std::exception& error) {
        logger.error({"{}: {}", entry.place}, entry.name, error);
    } catch (...) {
        logger.error({"{}: {}", entry.place}, entry.name, "unknown exception");
    }
    return decltype(body())();
}

} // namespace TELLAR

#endif
