#ifndef OXTELLARSERVICESHOST_OXTELLARSERVICESHOST_H
#define OXTELLARSERVICESHOST_OXTELLARSERVICESHOST_H

#include <functional>
#include <memory>
#include <string>

#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarServicesHost/Export.h>

/// Creates runtimes and registers them by name. Objects have no state. The first one loads the
/// plug-ins; further ones are cheap to construct. Any number of threads may call any function.
class OXTELLARSERVICESHOST_API OxTellarServicesHost {
public:
    /// Loads plug-ins that are not loaded yet and asks them for their op types. Plug-ins may open
    /// scenes meanwhile, so the caller must not hold a lock that this needs.
    OxTellarServicesHost();

    /// Returns a new runtime, owned by the caller, or null when none can be made.
    std::shared_ptr<TellarRuntime> createRuntime() const;

    /// Registers a runtime under a name. Null removes the name.
    static void RegisterRuntimeInstance(const std::shared_ptr<TellarRuntime>& runtime,
                                        const std::string& name);
    /// Returns null when no runtime has the name.
    static std::shared_ptr<TellarRuntime> GetRuntimeInstance(const std::string& name);

    using RuntimeFactory = std::function<std::shared_ptr<TellarRuntime>()>;
    /// Lets a host make the runtimes; an empty function restores TellarRuntime::create.
    static void SetRuntimeFactory(RuntimeFactory factory);
};

#endif
