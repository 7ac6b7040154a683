#ifndef OXCONFIGURATION_CONFIGURATIONFILE_H
#define OXCONFIGURATION_CONFIGURATIONFILE_H

#include <map>
#include <string>
#include <string_view>

using ConfigurationValues = std::map<std::string, std::string, std::less<>>;

/// Reads a JSON configuration file into `values`. When it cannot, returns false, leaves
/// `values` alone and assigns the reason to `error`: it names the file and, for a fault in
/// the content, the line and the column, both counted from 1, the column in bytes.
bool ReadConfigurationFile(const std::string& path, ConfigurationValues& values,
                           std::string& error);

/// Reads a text in the same way. The reason calls the text `name`.
bool ParseConfiguration(std::string_view text, const std::string& name, ConfigurationValues& values,
                        std::string& error);

#endif
