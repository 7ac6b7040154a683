#ifndef TELLAR_TEST_THROWN_H
#define TELLAR_TEST_THROWN_H

#include <exception>
#include <stdexcept>

/// Exceptions for plug-ins that break the rule against exceptions.

class SilentException : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

[[noreturn]] inline void throwNumber(const char*) {
    throw 7;
}
[[noreturn]] inline void throwSilent(const char*) {
    throw SilentException();
}
[[noreturn]] inline void throwText(const char* text) {
    throw std::runtime_error(text);
}

#endif
