#include "ProcessEnvironment.h"

#include <unistd.h>

// POSIX requires programs to declare it.
extern char** environ;

std::map<std::string, std::string> EnvironmentVariablesWithPrefix(std::string_view prefix) {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos || equals <= prefix.size()) continue;
        if (text.compare(0, prefix.size(), prefix) != 0) continue;
        variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}
