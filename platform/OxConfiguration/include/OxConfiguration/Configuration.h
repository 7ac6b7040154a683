#ifndef OXCONFIGURATION_CONFIGURATION_H
#define OXCONFIGURATION_CONFIGURATION_H

#include <memory>
#include <string>
#include <vector>

#include <OxConfiguration/Export.h>

/// The settings of this process: named texts from JSON files, overlaid by the environment.
/// There is one object, which Config() returns.
///
/// The files are those that the environment variable OX_CONFIG_FILE names, separated by ':'
/// (on Windows ';'); empty entries are ignored. A key has the value of the first file that
/// has it. Each file holds one object; the members of nested objects have dotted keys
/// ("cache.limit"), numbers and booleans count as their text. If anything in a file is wrong,
/// all of that file is ignored, the others are not, and one error is logged by "Configuration"
/// that names the file, the line and the column.
///
/// The environment variable OX_CONFIG_FOO overrides the key "FOO" of all files; in a
/// variable's name '_' stands for each character of the key outside [A-Za-z0-9_], so
/// OX_CONFIG_cache_limit overrides "cache.limit". The key "FILE" alone cannot be overridden:
/// its variable names the files.
///
/// Files and environment are read when Config() is first called, and again only by reload().
/// Any number of threads may use the object at once, also during a reload.
class OXCONFIGURATION_API Configuration {
public:
    /// Whether the key has a value, which may be an empty one.
    bool has(const std::string& key) const;

    /// The key's value; empty when it has none.
    std::string get(const std::string& key) const;

    /// The sources of the values: the paths of the files that could be read, as they were
    /// named and in the order searched, then the names of the environment variables in
    /// alphabetical order.
    std::vector<std::string> sources() const;

    /// Reads the files and the environment again. Callers see either all of the old values
    /// or all of the new ones. The environment must not change meanwhile.
    void reload();

    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;

private:
    struct Snapshot;
    friend OXCONFIGURATION_API Configuration* Config();

    explicit Configuration(std::shared_ptr<const Snapshot> snapshot);
    ~Configuration();
    std::shared_ptr<const Snapshot> current() const;

    // Replaced as a whole by reload() and reached through std::atomic_load and
    // std::atomic_store only; a snapshot itself never changes. No reader/writer lock:
    // readers that follow each other closely would keep reload() waiting.
    std::shared_ptr<const Snapshot> snapshot;
};

/// The process's configuration. Never null, never destroyed; safe from any thread.
OXCONFIGURATION_API Configuration* Config();

#endif
