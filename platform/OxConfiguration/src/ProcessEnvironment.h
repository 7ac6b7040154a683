#ifndef OXCONFIGURATION_PROCESSENVIRONMENT_H
#define OXCONFIGURATION_PROCESSENVIRONMENT_H

#include <map>
#include <string>
#include <string_view>

/// The environment variables whose names begin with `prefix` and go on after it, by their
/// full names. The one place that lists the environment, which no standard call does.
std::map<std::string, std::string> EnvironmentVariablesWithPrefix(std::string_view prefix);

#endif
