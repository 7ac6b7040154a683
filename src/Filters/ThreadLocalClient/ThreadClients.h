#ifndef OXTELLARPRODUCERS_THREADCLIENTS_H
#define OXTELLARPRODUCERS_THREADCLIENTS_H

#include <functional>
#include <mutex>
#include <optional>

#include <OxTellarProducers/OpTreeSource.h>

namespace TELLAR {

// The interface between the client factory and ThreadLocalClient.

/// Frees results as a request for a client does. Does nothing while another thread makes a request.
void FreeResultsUnusedForLong();

/// The clients of threads, for the client factory. No ThreadLocalClient is made during its life, so
/// a source that has none is used by no thread. Locked after the factory's own lock.
class ThreadClients {
public:
    using Client = std::shared_ptr<TellarRuntime::Client>;

    ThreadClients();

    /// The number of references to a client that threads of its source hold. Nothing when the
    /// source has a ThreadLocalClient, through which threads may be using their clients.
    std::optional<long> referencesTo(const Client& client, const OpTreeSource& source) const;

    /// Calls `body` with the clients of all sources that got a ThreadLocalClient again, after they
    /// had lost their last one, since the previous call.
    void forEachOfReopened(const std::function<void(const Client&)>& body) const;

private:
    std::lock_guard<std::mutex> guard;
};

} // namespace TELLAR

#endif
