#ifndef OXTELLARSDK_TESTS_ERROROF_H
#define OXTELLARSDK_TESTS_ERROROF_H

#include <stdexcept>
#include <string>

/// The text of the std::runtime_error that `body` throws, or "no error". Exceptions of any other
/// kind pass through.
template <typename Body>
std::string ErrorOf(Body body) {
    try {
        body();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

#endif
