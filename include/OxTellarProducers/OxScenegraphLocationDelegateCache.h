#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H

#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// The location delegate plug-ins by the types of locations that they take over. Plug-ins are
/// looked for once, on the first request; later ones are not seen. When several claim one type for
/// one renderer, the first in the plug-in manager's order is used.
///
/// Threads: any; the first request makes the others wait. Exceptions of a plug-in pass through, and
/// the next request tries again.
///
/// A delegate may make requests from its own entries while it is asked what it serves, on the same
/// thread: it finds the delegates asked before it. It must not wait for a request of another
/// thread. A request that a plug-in makes while plug-ins are being loaded is the first one for all:
/// those loaded by then are the delegates of the process.
class TELLAR_API OxScenegraphLocationDelegateCache {
public:
    static void initializeCache();
    static bool isCacheInitialized();

    /// The table of the delegate, which lives as long as the process; null when there is none. An
    /// empty renderer name finds only delegates for every renderer, any other only those for this
    /// renderer.
    static OxScenegraphLocationDelegatePluginSuite_v1*
    getPluginSuite(const std::string& locationType, const std::string& rendererName);

    /// Assigns the location types that have a delegate, sorted. The renderer name is as above.
    static void getLocationTypesWithDelegates(std::vector<std::string>& out,
                                              const std::string& rendererName);

    OxScenegraphLocationDelegateCache&
    operator=(const OxScenegraphLocationDelegateCache&) = default;
    OxScenegraphLocationDelegateCache&
    operator=(OxScenegraphLocationDelegateCache&&) noexcept = default;

private:
    OxScenegraphLocationDelegateCache() = default;
    static void populate();
};

} // namespace TELLAR

#endif
