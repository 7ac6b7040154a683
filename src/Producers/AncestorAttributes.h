#ifndef OXTELLARPRODUCERS_ANCESTORATTRIBUTES_H
#define OXTELLARPRODUCERS_ANCESTORATTRIBUTES_H

#include <boost/container/small_vector.hpp>

#include <OxTellarSDK/AttributeChain.h>

#include "LocationSteps.h"

namespace TELLAR {

/// The attributes of a location of the library's own kind and of its ancestors, for the functions
/// of the platform that combine them. Borrowed from the location, which has to live as long.
class AncestorAttributes {
public:
    explicit AncestorAttributes(OwnLocation location) {
        for (; location; location = location.getParent())
            groups.push_back(&location.getAttrs());
    }

    OxAttribute::AttributeChain chain() const { return {groups.data(), groups.size()}; }

private:
    boost::container::small_vector<const OxAttribute::GroupAttribute*, 16> groups;
};

} // namespace TELLAR

#endif
