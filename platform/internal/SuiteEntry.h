#ifndef TELLAR_PLATFORM_SUITEENTRY_H
#define TELLAR_PLATFORM_SUITEENTRY_H

#include <exception>

#include "NamedLogger.h"
#include "SuiteTable.h"

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

/// A function for a table that runs the body of an entry. The types after the body are those of the
/// slot that it is assigned to.
template <const NamedLogger& logger, const SuiteEntry& entry, const auto& body, typename Result,
          typename... Arguments>
Result GuardedEntry(Arguments... arguments) noexcept {
    return RunSuiteEntry(logger, entry, [&]() -> Result { return body(arguments...); });
}

} // namespace TELLAR

/// Checks the slot and sets it to an entry that runs the body: a function, or a constant function
/// object. Exceptions are logged by the `kLogger` in scope, with the member's name and the place of
/// this call.
#define TELLAR_SET_ENTRY(table, index, member, ...)                                                \
    static const TELLAR::SuiteEntry member##Entry(#member);                                        \
    static constexpr auto member##Body = __VA_ARGS__;                                              \
    TELLAR_SET_SLOT(table, index, member,                                                          \
                    (TELLAR::GuardedEntry<kLogger, member##Entry, member##Body>))

#endif
