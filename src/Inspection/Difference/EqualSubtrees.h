#ifndef OXTELLARPRODUCERS_EQUALSUBTREES_H
#define OXTELLARPRODUCERS_EQUALSUBTREES_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Asks the Ops of two scenes which subtrees are equal. Asks no more when the answers take longer
/// than they save. For one thread.
class EqualSubtrees {
public:
    /// The clients must outlive the object; neither is null.
    EqualSubtrees(TellarRuntime::Client& oldClient, TellarRuntime::Client& newClient);

    /// True if all locations below the path are known to be equal.
    bool areEqualBelow(const std::string& path);

private:
    using Clock = std::chrono::steady_clock;

    TellarRuntime::Client& oldClient;
    TellarRuntime::Client& newClient;
    const Clock::time_point start = Clock::now();
    Clock::duration wasted{}; // by questions that saved less time than they took
    const bool haveOps;
};

} // namespace TELLAR

#endif
