#ifndef OXTELLARPRODUCERS_LOCATIONDELEGATES_H
#define OXTELLARPRODUCERS_LOCATIONDELEGATES_H

#include <map>
#include <string>
#include <vector>

#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>

namespace TELLAR {

/// Location delegates by renderer and location type. One thread adds them; after that any number of
/// threads may look them up.
class LocationDelegates {
public:
    using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

    /// Makes an instance of the delegate and asks what it serves. Of two that serve the same, the
    /// first one is used. A suite that is null or lacks an entry called here is ignored. Exceptions
    /// of the delegate pass through.
    void add(Suite* suite);

    /// Null when there is none. An empty renderer name finds those that serve every renderer.
    Suite* find(const std::string& locationType, const std::string& rendererName) const;
    /// The location types with a delegate, in ascending order.
    std::vector<std::string> types(const std::string& rendererName) const;

private:
    using SuitesByType = std::map<std::string, Suite*>;

    std::map<std::string, SuitesByType> byRenderer; // the empty name means every one
};

} // namespace TELLAR

#endif
