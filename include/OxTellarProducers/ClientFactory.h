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

} // namespace TELLAR

#endif
