#include <OxRenderServices/AnalyticsManager.h>

#include <atomic>
#include <cstdlib>
#include <mutex>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "AppendFile.h"
#include "NamedLogger.h"

namespace OxRenderServices {

namespace {

const NamedLogger kLogger("AnalyticsManager");

constexpr const char* kFileVariable = "OX_ANALYTICS_FILE";

enum class Phase { undecided, enabled, disabled };

// Assigns the record as one line. Returns false when JSON cannot express it.
bool FormatRecord(const std::string& name, const rapidjson::Value& value, std::string& line) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                      rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>
        writer(buffer);
    const auto length = static_cast<rapidjson::SizeType>(name.size());
    const bool isWritten = writer.StartObject() && writer.Key("name") &&
                           writer.String(name.data(), length) && writer.Key("value") &&
                           value.Accept(writer) && writer.EndObject();
    line.assign(buffer.GetString(), buffer.GetSize());
    line += '\n';
    return isWritten;
}

} // namespace

// `mutex` guards the file and every change of the phase: the phase is `enabled` exactly
// while the file is open. The phase may also be read without it. Errors are logged after
// the mutex is released, as a log sink may add records of its own.
struct AnalyticsManager::State {
    std::mutex mutex;
    AppendFile file;
    std::string path;
    std::atomic<Phase> phase{Phase::undecided};
};

AnalyticsManager::AnalyticsManager() : state(std::make_unique<State>()) {}

AnalyticsManager::~AnalyticsManager() = default;

AnalyticsManager& AnalyticsManager::manager() {
    static AnalyticsManager* const manager = new AnalyticsManager;
    return *manager;
}

// The caller holds the mutex.
bool AnalyticsManager::open(const std::string& path, std::string& error) {
    std::string reason;
    const bool isOpen = state->file.open(path, reason);
    if (!isOpen) error = "Cannot open the analytics file \"" + path + "\": " + reason;
    state->path = path;
    state->phase.store(isOpen ? Phase::enabled : Phase::disabled, std::memory_order_release);
    return isOpen;
}

void AnalyticsManager::decideFromEnvironment() {
    std::string error;
    {
        const std::lock_guard<std::mutex> lock(state->mutex);
        if (state->phase.load(std::memory_order_relaxed) != Phase::undecided) return;
        const char* path = std::getenv(kFileVariable);
        if (path && *path) {
            open(path, error);
        } else {
            state->phase.store(Phase::disabled, std::memory_order_release);
        }
    }
    if (!error.empty()) kLogger.error("{}", error);
}

AnalyticsManager* AnalyticsManager::getInstance() {
    AnalyticsManager& instance = manager();
    const std::atomic<Phase>& phase = instance.state->phase;
    if (phase.load(std::memory_order_acquire) == Phase::undecided) {
        instance.decideFromEnvironment();
    }
    return phase.load(std::memory_order_acquire) == Phase::enabled ? &instance : nullptr;
}

AnalyticsManager* AnalyticsManager::enable(const std::string& path) {
    AnalyticsManager& instance = manager();
    std::string error;
    {
        const std::lock_guard<std::mutex> lock(instance.state->mutex);
        if (instance.open(path, error)) return &instance;
    }
    kLogger.error("{}", error);
    return nullptr;
}

void AnalyticsManager::disable() {
    State& state = *manager().state;
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.phase.store(Phase::disabled, std::memory_order_release);
    state.file.close();
}

void AnalyticsManager::addRecord(const std::string& name, const rapidjson::Value& value) {
    std::string line;
    if (!FormatRecord(name, value, line)) {
        kLogger.error("The analytics record \"{}\" cannot be written as JSON", name);
        return;
    }
    std::string error;
    {
        const std::lock_guard<std::mutex> lock(state->mutex);
        if (!state->file.isOpen()) return;
        std::string reason;
        if (state->file.append(line, reason)) return;
        error = "Cannot write the analytics file \"" + state->path + "\": " + reason;
        state->phase.store(Phase::disabled, std::memory_order_release);
        state->file.close();
    }
    kLogger.error("{}", error);
}

} // namespace OxRenderServices
