#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H

#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// The location delegate plug-ins by the types of locations that they take over. The first request
/// looks for plug-ins; those added later are not seen. If several serve one type for one renderer,
/// the first in the plug-in manager's order is used.
///
/// Threads: any; requests wait until the first one is done. An exception of a plug-in passes
/// through, and the next request tries again.
///
/// While a delegate is asked what it serves, it may make requests on the same thread, which find
/// the delegates asked before it. It must not wait for a request on another thread. If a plug-in
/// makes a request while it is being loaded, the plug-ins loaded after it are never used.
class TELLAR_API OxScenegraphLocationDelegateCache {
public:
    static void initializeCache();
    static bool isCacheInitialized();

    /// The delegate's table, which lives as long as the process; null if there is none. An empty
    /// renderer name finds only delegates for every renderer, any other name only those for this
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
