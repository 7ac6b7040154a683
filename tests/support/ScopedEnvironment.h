#ifndef TELLAR_TEST_SCOPEDENVIRONMENT_H
#define TELLAR_TEST_SCOPEDENVIRONMENT_H

#include <cstdlib>
#include <optional>
#include <string>

/// Sets or unsets one environment variable and restores it at the end. For tests that
/// run no other thread meanwhile.
class ScopedEnvironment {
public:
    ScopedEnvironment(const std::string& name, const std::optional<std::string>& value)
        : name(name) {
        if (const char* current = std::getenv(name.c_str())) previous = current;
        assign(value);
    }
    ~ScopedEnvironment() { assign(previous); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void assign(const std::optional<std::string>& value) const {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }

    std::string name;
    std::optional<std::string> previous;
};

#endif
