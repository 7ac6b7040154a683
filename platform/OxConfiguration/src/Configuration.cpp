#include <OxConfiguration/Configuration.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "ConfigurationFile.h"
#include "NamedLogger.h"
#include "ProcessEnvironment.h"
#include "files/PathList.h"
#include "text/Characters.h"

namespace {

const NamedLogger kLogger("Configuration");

constexpr const char* kVariablePrefix = "OX_CONFIG_";
constexpr const char* kFileVariable = "OX_CONFIG_FILE";

std::string VariableOf(const std::string& key) {
    std::string name = kVariablePrefix;
    for (const char c : key)
        name += TellarInternal::IsNameCharacter(c) ? c : '_';
    return name;
}

std::vector<std::string> NamedFiles() {
    const char* list = std::getenv(kFileVariable);
    std::istringstream entries(list ? list : "");
    entries.exceptions(std::ios::badbit); // throws when memory runs out, instead of ending early
    std::vector<std::string> paths;
    for (std::string path; std::getline(entries, path, TellarInternal::kPathListSeparator);) {
        if (!path.empty()) paths.push_back(path);
    }
    return paths;
}

void LogErrors(const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
        kLogger.error("{}", text);
}

} // namespace

// The values of one reading of files and environment. Immutable once it is current.
struct Configuration::Snapshot {
    /// Reads the files and the environment. Adds one text to `errors` for each faulty file.
    static std::shared_ptr<const Snapshot> read(std::vector<std::string>& errors) {
        auto snapshot = std::make_shared<Snapshot>();
        snapshot->environment = EnvironmentVariablesWithPrefix(kVariablePrefix);
        snapshot->environment.erase(kFileVariable);
        for (const std::string& path : NamedFiles()) {
            ConfigurationValues values;
            std::string error;
            if (!ReadConfigurationFile(path, values, error)) {
                errors.push_back(error);
                continue;
            }
            snapshot->filePaths.push_back(path);
            snapshot->fileValues.merge(values); // keeps the values of earlier files
        }
        return snapshot;
    }

    const std::string* find(const std::string& key) const {
        const auto variable = environment.find(VariableOf(key));
        if (variable != environment.end()) return &variable->second;
        const auto value = fileValues.find(key);
        return value != fileValues.end() ? &value->second : nullptr;
    }

    /// The files that could be read.
    std::vector<std::string> filePaths;
    ConfigurationValues fileValues;
    std::map<std::string, std::string> environment;
};

Configuration::Configuration(std::shared_ptr<const Snapshot> snapshot)
    : snapshot(std::move(snapshot)) {}

Configuration::~Configuration() = default;

bool Configuration::has(const std::string& key) const {
    return current()->find(key) != nullptr;
}

std::string Configuration::get(const std::string& key) const {
    const std::shared_ptr<const Snapshot> values = current();
    const std::string* value = values->find(key);
    return value ? *value : std::string();
}

std::vector<std::string> Configuration::sources() const {
    const std::shared_ptr<const Snapshot> values = current();
    std::vector<std::string> sources = values->filePaths;
    for (const auto& variable : values->environment)
        sources.push_back(variable.first);
    return sources;
}

void Configuration::reload() {
    std::vector<std::string> errors;
    std::atomic_store(&snapshot, Snapshot::read(errors));
    LogErrors(errors);
}

std::shared_ptr<const Configuration::Snapshot> Configuration::current() const {
    return std::atomic_load(&snapshot);
}

Configuration* Config() {
    static auto* const firstErrors = new std::vector<std::string>;
    static Configuration* const config =
        new Configuration(Configuration::Snapshot::read(*firstErrors));
    // Logged when the object is ready, because a log sink may ask for a setting.
    static std::atomic<bool> areErrorsPending{!firstErrors->empty()};
    if (areErrorsPending.load(std::memory_order_relaxed) && areErrorsPending.exchange(false)) {
        LogErrors(*firstErrors);
    }
    return config;
}
