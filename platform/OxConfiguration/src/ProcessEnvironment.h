#ifndef OXCONFIGURATION_PROCESSENVIRONMENT_H
#define OXCONFIGURATION_PROCESSENVIRONMENT_H

#include <map>
#include <string>
#include <string_view>

/// The environment variables whose names begin with `prefix` and have more characters, by their
/// full names. No standard call lists the environment, so only this function does.
std::map<std::string, std::string> EnvironmentVariablesWithPrefix(std::string_view prefix);

#endif
