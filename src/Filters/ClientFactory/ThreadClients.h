#ifndef OXTELLARPRODUCERS_THREADCLIENTS_H
#define OXTELLARPRODUCERS_THREADCLIENTS_H

#include <memory>
#include <set>
#include <string>

#include <OxTellarProducers/OpTreeSource.h>

namespace TELLAR {

// The interface between the client factory and ThreadLocalClient.

/// The references of threads to clients of one source. A reference outlives its thread, because
/// other objects of the thread may still use the client at their own ends; the next thread that
/// gets the client takes it over. The factory guards the set and never destroys it.
struct ThreadClients {
    std::set<std::shared_ptr<TellarRuntime::Client>> references;
};

/// The references for a source. Each of its ThreadLocalClients shares them for its whole life; that
/// tells the factory whether threads may be using the clients. A source that was valid once is not
/// checked again; for any other that is not valid, returns empty and assigns the reason to
/// *problem.
boost::shared_ptr<ThreadClients> OpenThreadClients(const OpTreeSource& source,
                                                   std::string* problem);

/// Like ClientCreateWithOpTree. Returns the calling thread's reference, which lives to the end of
/// the process.
const std::shared_ptr<TellarRuntime::Client>& ClientCreateForThread(const OpTreeSource& source,
                                                                    ThreadClients& threads);

} // namespace TELLAR

#endif
