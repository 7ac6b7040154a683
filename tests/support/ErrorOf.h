#ifndef TELLAR_TESTS_ERROROF_H
#define TELLAR_TESTS_ERROROF_H

#include <stdexcept>
#include <string>

/// The text of the exception of type Error that `body` throws, or "no error". Exceptions of any
/// other type pass through and fail the test.
template <typename Error = std::runtime_error, typename Body>
std::string ErrorOf(Body body) {
    try {
        body();
    } catch (const Error& error) {
        return error.what();
    }
    return "no error";
}

#endif
