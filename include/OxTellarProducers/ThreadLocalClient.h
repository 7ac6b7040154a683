#ifndef OXTELLARPRODUCERS_THREADLOCALCLIENT_H
#define OXTELLARPRODUCERS_THREADLOCALCLIENT_H

#include <OxTellarProducers/OpTreeSource.h>

namespace TELLAR {

struct ThreadClients;

/// One client per thread for an op-tree source, made on the thread's first request and given back
/// to the client factory when the thread ends. All objects over sources with equal hashes give a
/// thread the same client. If the thread makes another request after that, from the end of one of
/// its own objects, it gets a client as a new thread does.
///
/// Threads: one object may be shared by any number of threads.
class TELLAR_API ThreadLocalClient {
public:
    /// An invalid source is logged at error level by the logger "ThreadLocalClient"; no thread
    /// gets a client then.
    explicit ThreadLocalClient(const OpTreeSource& opTreeSource);
    virtual ~ThreadLocalClient();
    ThreadLocalClient(const ThreadLocalClient&) = delete;
    ThreadLocalClient& operator=(const ThreadLocalClient&) = delete;

    /// The calling thread's client. Empty when the source is invalid or no client could be made.
    ///
    /// Trap: a thread for which no client could be made gets none later either, even when the cause
    /// is gone. ClientCreateWithOpTree tries again on every call.
    virtual std::shared_ptr<TellarRuntime::Client> getClient();

private:
    friend class ThreadAwareAccess;
    /// The client of getClient() of this very class, without another reference to it: the thread
    /// keeps its client.
    const std::shared_ptr<TellarRuntime::Client>& getHeldClient();

    OpTreeSource source;
    boost::shared_ptr<ThreadClients> clients; // empty for an invalid source
};

} // namespace TELLAR

#endif
