#ifndef TELLAR_TEST_THROWN_H
#define TELLAR_TEST_THROWN_H

#include <exception>
#include <stdexcept>

/// Exceptions for plug-ins that break the rule against exceptions.

class SilentException : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

[[noreturn]] inline void ThrowNumber(const char*) {
    throw 7;
}
[[noreturn]] inline void ThrowSilent(const char*) {
    throw SilentException();
}
[[noreturn]] inline void ThrowText(const char* text) {
    throw std::runtime_error(text);
}

#endif
