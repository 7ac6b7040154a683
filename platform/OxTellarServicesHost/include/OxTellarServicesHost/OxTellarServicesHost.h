#ifndef OXTELLARSERVICESHOST_OXTELLARSERVICESHOST_H
#define OXTELLARSERVICESHOST_OXTELLARSERVICESHOST_H

#include <functional>
#include <memory>
#include <string>

#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarServicesHost/Export.h>

/// Where runtimes come from. Objects keep nothing of their own. The first one loads the plug-ins
/// that are there; further ones are cheap to construct.
/// Threads: everything may be called from any number of threads.
class OXTELLARSERVICESHOST_API OxTellarServicesHost {
public:
    /// Loads plug-ins that have not been loaded, and asks them for their op types. Their code may
    /// open scenes itself, so hold no lock that this needs.
    OxTellarServicesHost();

    /// A new runtime, owned by the caller; null when there is none to be had.
    std::shared_ptr<TellarRuntime> createRuntime() const;

    /// Publishes a runtime of the process under a name; null takes the name away again.
    static void RegisterRuntimeInstance(const std::shared_ptr<TellarRuntime>& runtime,
                                        const std::string& name);
    /// Null when no runtime has the name.
    static std::shared_ptr<TellarRuntime> GetRuntimeInstance(const std::string& name);

    using RuntimeFactory = std::function<std::shared_ptr<TellarRuntime>()>;
    /// Lets a host make the runtimes; an empty function restores TellarRuntime::create.
    static void SetRuntimeFactory(RuntimeFactory factory);
};

#endif
