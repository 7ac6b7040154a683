#ifndef OXTELLARPRODUCERS_THREADCLIENTS_H
#define OXTELLARPRODUCERS_THREADCLIENTS_H

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Shows the client factory which clients threads may use. While it lives no ThreadLocalClient is
/// made, so a source that has none now is used by no thread. Taken after the factory's own lock.
class ThreadClients {
public:
    using Client = std::shared_ptr<TellarRuntime::Client>;

    ThreadClients();

    /// How many references to a client of the source threads keep. Nothing when there is a
    /// ThreadLocalClient for the source, through which threads may be using their clients.
    std::optional<long> referencesTo(const Client& client, const OpTreeSource& source) const;

    /// Calls `body` with the clients of all sources for which ThreadLocalClients came again, after
    /// there was none for a while, since this was last called.
    void forEachOfReopened(const std::function<void(const Client&)>& body) const;

private:
    std::lock_guard<std::mutex> guard;
};

} // namespace TELLAR

#endif
