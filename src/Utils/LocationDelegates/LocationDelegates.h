#ifndef OXTELLARPRODUCERS_LOCATIONDELEGATES_H
#define OXTELLARPRODUCERS_LOCATIONDELEGATES_H

#include <map>
#include <string>
#include <vector>

#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// Which location delegate serves which renderer and location type. Delegates are added by one
/// thread; after that any number of threads may ask.
class LocationDelegates {
public:
    using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

    /// Makes an instance of the delegate and asks it what it serves. Where two serve the same, the
    /// one added first does. A suite that is null or lacks an entry called here is passed over.
    /// Passes on what the delegate throws.
    void add(Suite* suite);

    /// An empty renderer name asks for those that serve every renderer. Null when there is none.
    Suite* find(const std::string& locationType, const std::string& rendererName) const;
    /// The location types with a delegate, in ascending order.
    std::vector<std::string> types(const std::string& rendererName) const;

private:
    using SuitesByType = std::map<std::string, Suite*>;

    std::map<std::string, SuitesByType> byRenderer; // the empty name: for every renderer
};

} // namespace TELLAR

#endif
