#ifndef OXTELLARPRODUCERS_CLIENTFACTORY_H
#define OXTELLARPRODUCERS_CLIENTFACTORY_H

#include <memory>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// A committed client for a source: one that was given back for an equal source, as it is, or
/// else a new one with a runtime of its own. Clients live to the end of the process.
///
/// Empty when the source is not valid, there is no runtime, or no Op comes of the source; the
/// reason is logged at error level by the logger "ClientFactory". Exceptions of the platform
/// pass through.
///
/// Threads: any. Creations wait for each other.
TELLAR_API std::shared_ptr<TellarRuntime::Client>
ClientCreateWithOpTree(const OpTreeSource& source);

/// Gives a client back for reuse, from the next ClientCreateWithOpTree on. A client that the
/// factory did not make, or that was given back before, is ignored.
///
/// Threads: any. Never waits for a creation.
TELLAR_API void ClientInvalidate(std::shared_ptr<TellarRuntime::Client> client);

/// Frees at once what clients have cooked that nobody uses: those of which nobody holds a pointer,
/// and for whose source there is no ThreadLocalClient, as thread-aware producers have. Without a
/// call that happens little by little, whenever a client is asked for or a scene is opened again;
/// the last scenes stay cooked for whoever opens them again.
///
/// Such a client keeps its runtime, its Ops and their arguments, and cooks anew when it is used
/// again. Trap: only a client whose shared pointer is held counts as used. A thread that calls one
/// through a plain pointer meanwhile, because the factory keeps it alive, calls it while its
/// results are taken away.
///
/// Threads: any. Waits for creations.
TELLAR_API void ClientFreeUnusedResults();

} // namespace TELLAR

#endif
