#include <OxPluginHost/OxPluginHost.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxConfiguration/Configuration.h>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/PluginManager.h>
#include <OxTellarSDK/SuiteFilter.h>

#include "SuiteEntry.h"

namespace {

using OxPluginManager::PluginManager;

const NamedLogger kLogger("PluginHost");

constexpr const char* kAttributeSuiteName = "AttributeHost";
constexpr unsigned int kAttributeSuiteVersion = 1;

// The results of registerSuite.
enum RegistrationStatus { kRegistered = 0, kNotUsable = 1, kTaken = 2, kFailed = 3 };

// The function tables by name and version, which are never removed. No foreign code runs under the
// lock, because plug-ins look up and register tables while the plug-in manager loads them.
class SuiteTable {
public:
    const void* find(std::string_view apiName, unsigned int apiVersion) const {
        const std::shared_lock<std::shared_mutex> lock(mutex);
        const auto versions = suites.find(apiName);
        if (versions == suites.end()) return nullptr;
        const auto suite = versions->second.find(apiVersion);
        return suite != versions->second.end() ? suite->second : nullptr;
    }

    /// 0 when there is none.
    unsigned int newestVersion(std::string_view apiName) const {
        const std::shared_lock<std::shared_mutex> lock(mutex);
        const auto versions = suites.find(apiName);
        return versions != suites.end() ? versions->second.rbegin()->first : 0;
    }

    /// Returns the first table that was added under this name and version.
    const void* add(const void* suite, std::string_view apiName, unsigned int apiVersion) {
        // Made first, so that no name is left without a version when there is no memory.
        std::map<unsigned int, const void*> firstVersion = {{apiVersion, suite}};
        std::string name(apiName);
        const std::unique_lock<std::shared_mutex> lock(mutex);
        const auto versions = suites.try_emplace(std::move(name), std::move(firstVersion)).first;
        return versions->second.try_emplace(apiVersion, suite).first->second;
    }

private:
    mutable std::shared_mutex mutex;
    std::map<std::string, std::map<unsigned int, const void*>, std::less<>> suites;
};

SuiteTable& GetSuiteTable() {
    static SuiteTable* const table = new SuiteTable;
    return *table;
}

/// A copy of the text that lives to the end of the process; equal texts share one.
const char* Interned(const std::string& text) {
    static std::mutex* const mutex = new std::mutex;
    static std::set<std::string>* const texts = new std::set<std::string>;
    const std::lock_guard<std::mutex> lock(*mutex);
    return texts->insert(text).first->c_str();
}

/// The attribute suite of the process. Sets up the built-in one if there is none.
const OxAttributeSuite_v1* GetAttributeSuite() {
    if (!OxGetAttributeSuite()) OxSetAttributeSuite(OxGetBuiltInAttributeSuite());
    return OxGetAttributeSuite();
}

/// Registers the suites that every host offers. Calls no plug-in. The next call tries again when
/// there was no memory for it.
void RegisterOwnSuitesOnce() {
    static const bool isRegistered = [] {
        GetSuiteTable().add(GetAttributeSuite(), kAttributeSuiteName, kAttributeSuiteVersion);
        GetSuiteTable().add(OxGetBuiltInAttributeSuite4(), kAttributeSuiteName, 4);
        return true;
    }();
    static_cast<void>(isRegistered);
}

const void* GetSuite(const char* apiName, unsigned int apiVersion) {
    if (!apiName) return nullptr;
    RegisterOwnSuitesOnce();
    const void* const suite = GetSuiteTable().find(apiName, apiVersion);
    return suite ? OxPluginManager::FilteredSuite({"", apiName, apiVersion, suite}) : nullptr;
}

unsigned int GetNewestSuiteVersion(const char* apiName) {
    return apiName ? GetSuiteTable().newestVersion(apiName) : 0;
}

const char* GetPluginName(const char* apiName, unsigned int apiVersion, unsigned int index) {
    if (!apiName) return nullptr;
    std::vector<std::string> names;
    PluginManager::getPluginNames(apiName, names, apiVersion);
    return index < names.size() ? Interned(names[index]) : nullptr;
}

const void* GetPluginSuite(const char* pluginName, const char* apiName, unsigned int apiVersion) {
    if (!pluginName || !apiName) return nullptr;
    return PluginManager::getPluginSuite(PluginManager::getPlugin(pluginName, apiName, apiVersion));
}

OxAttributeStruct* GetConfiguration(const char* key) {
    if (!key || !Config()->has(key)) return nullptr;
    const std::string value = Config()->get(key);
    // The key may have been removed in between; an empty value is a value.
    if (value.empty() && !Config()->has(key)) return nullptr;
    // Uses the table that plug-ins get; the process may have set another one since.
    const auto* suite = static_cast<const OxAttributeSuite_v1*>(
        GetSuite(kAttributeSuiteName, kAttributeSuiteVersion));
    const char* text = value.c_str();
    return suite ? suite->createString(&text, 1, 1) : nullptr;
}

int IsLogged(const char* loggerName, int level) {
    if (!loggerName) return 0;
    const OxLogLevel threshold = OxLoggingGetLevel(loggerName);
    switch (level) {
    case kOxLogDebug:
        return threshold <= OxLogLevel::debug;
    case kOxLogInfo:
        return threshold <= OxLogLevel::info;
    case kOxLogWarn:
        return threshold <= OxLogLevel::warn;
    case kOxLogError:
        return threshold <= OxLogLevel::error;
    default:
        return 0;
    }
}

void Log(const char* loggerName, int level, const char* message, const char* file, int line) {
    // Checked first, because it costs less than making the logger.
    if (!message || !IsLogged(loggerName, level)) return;
    const OxLoggerGlue named(loggerName);
    if (level == kOxLogDebug) named.debug(message, file, line);
    if (level == kOxLogInfo) named.info(message, file, line);
    if (level == kOxLogWarn) named.warn(message, file, line);
    if (level == kOxLogError) named.error(message, file, line);
}

void WarnOfRefusal(const char* apiName, unsigned int apiVersion, const char* why,
                   LogPlace place = {}) {
    kLogger.warn({"Suite \"{}\" version {} is not registered: {}", place}, apiName, apiVersion,
                 why);
}

RegistrationStatus TryToRegister(const void* suite, const char* apiName, unsigned int apiVersion) {
    const bool isNamed = apiName && *apiName;
    if (!suite || !isNamed || apiVersion == 0) {
        WarnOfRefusal(apiName, apiVersion,
                      !suite     ? "its function table is null"
                      : !isNamed ? "it has no name"
                                 : "versions begin with 1");
        return kNotUsable;
    }
    if (GetSuiteTable().add(suite, apiName, apiVersion) == suite) return kRegistered;
    WarnOfRefusal(apiName, apiVersion, "another one has this name and version");
    return kTaken;
}

int RegisterSuite(const void* suite, const char* apiName, unsigned int apiVersion) {
    RegistrationStatus status = kFailed;
    TELLAR::RunSuiteEntry(kLogger, "registerSuite",
                          [&] { status = TryToRegister(suite, apiName, apiVersion); });
    return status;
}

OxPluginHost MakeHostRecord() {
    static_assert(sizeof(OxPluginHost) == 11 * sizeof(void*));
    OxPluginHost record{};
    TELLAR_SET_SLOT(record, 0, recordVersion, OX_PLUGIN_HOST_RECORD_VERSION);
    TELLAR_SET_SLOT(record, 1, name, "OxPluginHost");
    TELLAR_SET_SLOT(record, 2, version, OXPLUGINHOST_VERSION);
    TELLAR_SET_ENTRY(record, 3, getSuite, GetSuite);
    TELLAR_SET_ENTRY(record, 4, getNewestSuiteVersion, GetNewestSuiteVersion);
    TELLAR_SET_ENTRY(record, 5, getPluginName, GetPluginName);
    TELLAR_SET_ENTRY(record, 6, getPluginSuite, GetPluginSuite);
    TELLAR_SET_ENTRY(record, 7, getConfiguration, GetConfiguration);
    TELLAR_SET_ENTRY(record, 8, isLogged, IsLogged);
    TELLAR_SET_ENTRY(record, 9, log, Log);
    TELLAR_SET_SLOT(record, 10, registerSuite, RegisterSuite);
    return record;
}

OxPluginHost* GetHostRecord() {
    static OxPluginHost record = MakeHostRecord();
    return &record;
}

/// Gives the host to the plug-in manager, and through it to plug-ins that are loaded already.
///
/// Threads do not wait for each other here: the plug-in manager has a lock of its own, and a
/// plug-in that it loads on another thread may ask for the host at the same time. So every thread
/// makes the call until the first one has returned, except within a call of its own.
void HandToPluginManagerOnce() {
    static std::atomic<bool> isDone{false};
    thread_local bool isUnderWay = false;
    if (isDone.load(std::memory_order_acquire) || isUnderWay) return;
    isUnderWay = true;
    const bool isGiven = TELLAR::RunSuiteEntry(kLogger, "OxGetPluginHost", [] {
        PluginManager::setHost(GetHostRecord());
        return true;
    });
    isUnderWay = false;
    if (isGiven) isDone.store(true, std::memory_order_release);
}

} // namespace

OxPluginHost* OxGetPluginHost() {
    TELLAR::RunSuiteEntry(kLogger, "OxGetPluginHost", [] { RegisterOwnSuitesOnce(); });
    HandToPluginManagerOnce();
    return GetHostRecord();
}
