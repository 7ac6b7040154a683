#ifndef OXTELLARSDK_GLOBALATTRIBUTE_H
#define OXTELLARSDK_GLOBALATTRIBUTE_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

namespace OxTellarServices {

/// Provides the attributes of a location (depth 0) and its ancestors for the lookup of global
/// attributes. Only the thread that looks an attribute up calls it.
class OXTELLARSDK_API BaseGlobalAttributeProviderLegacy {
public:
    virtual ~BaseGlobalAttributeProviderLegacy();
    /// Returns 0 and assigns `result`, which is invalid when the location lacks the attribute.
    /// Returns 2, without a change to `result`, when there is no location `depth` levels up. Any
    /// other value ends the lookup as 2 does.
    virtual int provideAttribute(const std::string& name, int depth,
                                 OxAttribute::Attribute& result) = 0;
};

} // namespace OxTellarServices

namespace OxTellarCookInterfaceUtils {

/// The attribute as inherited from the ancestors: that of the nearest location that has one. A
/// group that inherits is merged with the group of the next ancestor, and nearer children win;
/// nested groups are merged by the same rule. For a dotted name, a group on the way that does not
/// inherit hides the ancestors as well. `foundAt`, unless null, receives the path of the nearest
/// location that contributed, derived from `locationPath`; empty when none did.
OXTELLARSDK_API OxAttribute::Attribute
getGlobalAttrGeneric(OxTellarServices::BaseGlobalAttributeProviderLegacy& provider,
                     const std::string& name, const std::string& locationPath,
                     std::string* foundAt);

} // namespace OxTellarCookInterfaceUtils

#endif
