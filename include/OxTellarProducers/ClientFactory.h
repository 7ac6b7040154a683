#ifndef OXTELLARPRODUCERS_CLIENTFACTORY_H
#define OXTELLARPRODUCERS_CLIENTFACTORY_H

#include <OxTellarProducers/OpTreeSource.h>

namespace TELLAR {

/// Returns a committed client for a source: one that was given back for an equal source, as it is,
/// or a new one with its own runtime. Clients live to the end of the process.
///
/// Empty when the source is not valid, there is no runtime, or the source builds no Op; the logger
/// "ClientFactory" logs the reason at error level. Exceptions of the platform pass through.
///
/// Threads: any. Creations wait for each other.
TELLAR_API std::shared_ptr<TellarRuntime::Client>
ClientCreateWithOpTree(const OpTreeSource& source);

/// Gives a client back for reuse by the next ClientCreateWithOpTree. A client that the factory did
/// not make, or that was given back before, is ignored.
///
/// Threads: any. Never waits for a creation.
TELLAR_API void ClientInvalidate(std::shared_ptr<TellarRuntime::Client> client);

/// Frees the results of all unused clients at once. A client is unused when no caller holds a
/// shared pointer to it and its source has no ThreadLocalClient; thread-aware producers have one.
/// Without a call, most results are freed when another client is asked for and when other scenes
/// are opened again; those of the last scene stay.
///
/// An unused client keeps its runtime, its Ops and their arguments, and cooks again when it is next
/// used. Trap: a client that a thread calls through a plain pointer counts as unused and may lose
/// its results during the call.
///
/// Threads: any. Waits for creations.
TELLAR_API void ClientFreeUnusedResults();

} // namespace TELLAR

#endif
