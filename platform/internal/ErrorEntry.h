#ifndef TELLAR_PLATFORM_ERRORENTRY_H
#define TELLAR_PLATFORM_ERRORENTRY_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include <OxTellarSDK/ErrorHandle.h>

#include "SuiteTable.h"

// Functions in the tables that C code calls, for slots that report failures through a last
// parameter `OxErrorStruct** error`. No exception may leave them, and they log nothing.

namespace TELLAR {

/// Thrown by the body of an entry when its caller passed what it does not take. The error has the
/// kind kOxErrorBadCall, names the argument as its attribute, and its text is "slot: argument
/// problem".
struct BadCall {
    const char* argument;
    const char* problem;
};

/// Throws BadCall when an argument is a null pointer.
template <typename T>
T* NotNull(T* value, const char* argument) {
    if (!value) throw BadCall{argument, "is null"};
    return value;
}

/// The error for the exception that is being handled.
inline OxErrorStruct* CurrentError(const char* slot) noexcept {
    try {
        throw;
    } catch (const BadCall& call) {
        try {
            ErrorFacts facts;
            facts.code = kOxErrorBadCall;
            facts.text = std::string(slot) + ": " + call.argument + " " + call.problem;
            facts.attribute = call.argument;
            return OxErrorToHandle(std::move(facts));
        } catch (...) {
            return OxErrorToHandle(std::current_exception());
        }
    } catch (...) {
        return OxErrorToHandle(std::current_exception());
    }
}

/// The result of an entry that failed: -1 for a 64-bit count, otherwise null, 0 or nothing.
template <typename Result>
constexpr Result FailedResult() {
    if constexpr (std::is_same_v<Result, std::int64_t>) return -1;
    if constexpr (!std::is_same_v<Result, std::int64_t>) return Result();
}

/// The function for a slot of type `Slot` that runs the body of an entry. The body takes the
/// parameters of the slot without the last one. A body that also takes an OxErrorStruct*&, which
/// begins as null, can return a result and an error.
template <const char* name, const auto& body, typename Slot>
struct ErrorEntry;

template <const char* name, const auto& body, typename Result, typename... Arguments>
struct ErrorEntry<name, body, Result (*)(Arguments...)> {
    static Result run(Arguments... arguments) noexcept {
        return runWith(std::make_index_sequence<sizeof...(Arguments) - 1>(),
                       std::forward_as_tuple(arguments...));
    }

private:
    template <std::size_t... index>
    static Result runWith(std::index_sequence<index...>, std::tuple<Arguments&...> all) noexcept {
        OxErrorStruct** const error = std::get<sizeof...(index)>(all);
        OxErrorStruct* told = nullptr;
        Result result = FailedResult<Result>();
        try {
            if constexpr (std::is_invocable_v<decltype(body), decltype(std::get<index>(all))...,
                                              OxErrorStruct*&>)
                result = body(std::get<index>(all)..., told);
            else
                result = body(std::get<index>(all)...);
        } catch (...) {
            OxReleaseError(told);
            told = CurrentError(name);
        }
        if (error)
            *error = told;
        else
            OxReleaseError(told);
        return result;
    }
};

/// The function for a slot without an error parameter. An exception gives null, 0 or nothing.
template <const auto& body, typename Slot>
struct SilentEntry;

template <const auto& body, typename Result, typename... Arguments>
struct SilentEntry<body, Result (*)(Arguments...)> {
    static Result run(Arguments... arguments) noexcept {
        try {
            return body(arguments...);
        } catch (...) {
            return Result();
        }
    }
};

} // namespace TELLAR

/// Checks the slot and sets it to an entry that runs the body, which is a function or a constant
/// function object.
#define TELLAR_SET_ERROR_ENTRY(table, index, member, ...)                                          \
    static constexpr char member##Name[] = #member;                                                \
    static constexpr auto member##Body = __VA_ARGS__;                                              \
    TELLAR_SET_SLOT(                                                                               \
        table, index, member,                                                                      \
        (TELLAR::ErrorEntry<member##Name, member##Body, decltype((table).member)>::run))

/// The same for a slot without an error parameter.
#define TELLAR_SET_SILENT_ENTRY(table, index, member, ...)                                         \
    static constexpr auto member##Body = __VA_ARGS__;                                              \
    TELLAR_SET_SLOT(table, index, member,                                                          \
                    (TELLAR::SilentEntry<member##Body, decltype((table).member)>::run))

#endif
