#ifndef OXTELLARPRODUCERS_ANCESTORVALUES_H
#define OXTELLARPRODUCERS_ANCESTORVALUES_H

#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// A location on the way from /root to the one that is asked for.
struct PathLevel {
    std::string location;
    TellarRuntime::LocationData data;
};

/// An attribute as a location has or inherits it.
struct InheritedValue {
    OxAttribute::Attribute value; ///< by the rules of GeometryProducer::getGlobalAttribute
    std::vector<HistoryAncestor> ancestors; ///< those with a value of their own, nearest first
};

/// Looks up the attribute at the last of the levels, which begin with /root.
InheritedValue FindInherited(const std::vector<PathLevel>& levels, const std::string& attribute);

} // namespace TELLAR

#endif
