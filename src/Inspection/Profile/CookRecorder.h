#ifndef TELLAR_PROFILE_COOKRECORDER_H
#define TELLAR_PROFILE_COOKRECORDER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <OxTellarProducers/SceneProfile.h>
#include <OxTellarSDK/CookObserver.h>

#include "ThreadCooks.h"

namespace TELLAR {

/// The observer of a CookProfiler. Each thread adds up its own cooks.
class CookRecorder final : public OxOpType::CookObserver {
public:
    explicit CookRecorder(const ProfileLimits& limits);
    ~CookRecorder() override;

    void cookBegins(const OxOpType::ObservedCook& cook) noexcept override;
    void inputWasRead(const OxOpType::ObservedCook& cook, std::size_t input,
                      const std::string& location,
                      const TellarRuntime::LocationData& data) noexcept override;
    void cookEnds(const OxOpType::ObservedCook& cook,
                  const TellarRuntime::LocationData& result) noexcept override;
    void cookFails(const OxOpType::ObservedCook& cook, const ErrorFacts& error) noexcept override;
    void waitBegins(const OxOpType::ObservedCook& cook) noexcept override;
    void waitEnds(const OxOpType::ObservedCook& cook) noexcept override;

    /// Ends the time that is profiled, unless it has ended.
    void stop() noexcept;
    /// What was seen until now. Throws std::bad_alloc.
    SceneProfile summarize();

private:
    ThreadCooks* current() noexcept;
    ThreadCooks* findOrAdd();

    const std::uint64_t id; // unique in the process
    const ProfileLimits limits;
    ThreadCooks::Shared shared;
    std::atomic<std::int64_t> length{0}; // in nanoseconds; 0 before the end
    std::atomic<std::uint64_t> lost{0};  // cooks of threads for which there was no memory
    std::mutex lock;                     // guards the members below
    std::unordered_map<std::thread::id, std::unique_ptr<ThreadCooks>> threads;
    std::vector<ErrorFacts> errors;
};

} // namespace TELLAR

#endif
