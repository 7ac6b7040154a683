#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATECACHE_H

#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// Which location delegate plug-in takes over which type of locations. Plug-ins are looked for
/// once, when somebody first asks; those that come later are not seen. Of several that claim one
/// type for one renderer the first in the plug-in manager's order counts.
///
/// Threads: any; who asks first makes the others wait. What a plug-in throws as it is asked comes
/// out of the question, and the next question tries again.
///
/// A delegate may ask from within its own entries while it is asked for what it serves, on the same
/// thread: it finds the delegates asked before it. It must not wait for another thread that asks.
/// A plug-in that asks while plug-ins are being loaded settles it for all: those loaded by then are
/// the delegates of the process.
class TELLAR_API OxScenegraphLocationDelegateCache {
public:
    static void initializeCache();
    static bool isCacheInitialized();

    /// The plug-in's table of functions, which lives as long as the process. With an empty renderer
    /// name only those for every renderer are looked at, else only those for just this one. Null
    /// when there is none.
    static OxScenegraphLocationDelegatePluginSuite_v1*
    getPluginSuite(const std::string& locationType, const std::string& rendererName);

    /// Assigns the location types that have a delegate, in ascending order; the renderer name as
    /// above.
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
