#include <OxConfiguration/Configuration.h>

#include <atomic>
#include <cstdlib>
#include <utility>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "ConfigurationFile.h"
#include "ProcessEnvironment.h"

namespace {

constexpr const char* kVariablePrefix = "OX_CONFIG_";
constexpr const char* kFileVariable = "OX_CONFIG_FILE";

bool isVariableCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

std::string variableOf(const std::string& key) {
    std::string name = kVariablePrefix;
    for (const char c : key)
        name += isVariableCharacter(c) ? c : '_';
    return name;
}

void logError(const std::string& text) {
    static const OxLoggerGlue* const logger = new OxLoggerGlue("Configuration");
    logger->error(text, __FILE__, __LINE__);
}

} // namespace

// Everything that one reading found. Immutable once it is the current one.
struct Configuration::Snapshot {
    /// Reads the file and the environment; `error` is assigned when the file is at fault.
    static std::shared_ptr<const Snapshot> read(std::string& error) {
        auto snapshot = std::make_shared<Snapshot>();
        snapshot->environment = EnvironmentVariablesWithPrefix(kVariablePrefix);
        snapshot->environment.erase(kFileVariable);
        const char* path = std::getenv(kFileVariable);
        if (path && *path && ReadConfigurationFile(path, snapshot->fileValues, error)) {
            snapshot->filePath = path;
        }
        return snapshot;
    }

    const std::string* find(const std::string& key) const {
        const auto variable = environment.find(variableOf(key));
        if (variable != environment.end()) return &variable->second;
        const auto value = fileValues.find(key);
        return value != fileValues.end() ? &value->second : nullptr;
    }

    /// Empty unless the file was read.
    std::string filePath;
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
    std::vector<std::string> sources;
    if (!values->filePath.empty()) sources.push_back(values->filePath);
    for (const auto& variable : values->environment)
        sources.push_back(variable.first);
    return sources;
}

void Configuration::reload() {
    std::string error;
    std::atomic_store(&snapshot, Snapshot::read(error));
    if (!error.empty()) logError(error);
}

std::shared_ptr<const Configuration::Snapshot> Configuration::current() const {
    return std::atomic_load(&snapshot);
}

Configuration* Config() {
    static std::string* const firstError = new std::string;
    static Configuration* const config =
        new Configuration(Configuration::Snapshot::read(*firstError));
    // Logged when the object is ready: a log sink may well ask for a setting itself.
    static std::atomic<bool> isErrorPending{!firstError->empty()};
    if (isErrorPending.load(std::memory_order_relaxed) && isErrorPending.exchange(false)) {
        logError(*firstError);
    }
    return config;
}
