#ifndef OXTELLARSDK_GLOBALATTRIBUTE_H
#define OXTELLARSDK_GLOBALATTRIBUTE_H

#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

namespace OxTellarServices {

/// Gives the attributes of a location (depth 0) and its ancestors to the lookup of
/// global attributes.
class OXTELLARSDK_API BaseGlobalAttributeProviderLegacy {
public:
    virtual ~BaseGlobalAttributeProviderLegacy();
    /// Returns 0 with `result` assigned (invalid when the location lacks the attribute),
    /// or 2, `result` untouched, when there is no location `depth` levels up. Any other
    /// value ends the lookup as 2 does.
    virtual int provideAttribute(const std::string& name, int depth,
                                 OxAttribute::Attribute& result) = 0;
};

} // namespace OxTellarServices

namespace OxTellarCookInterfaceUtils {

/// The attribute as inherited from the ancestors: the nearest location that has it wins.
/// Groups are merged with those of the ancestors, nearer children winning, for as long
/// as each group met says that it inherits; nested groups are merged by the same rule.
/// For a dotted name, a group on the way that does not inherit hides the ancestors too.
/// `foundAt`, if not null, receives the path of the nearest location that contributed,
/// derived from `locationPath`; empty when none did.
OXTELLARSDK_API OxAttribute::Attribute
getGlobalAttrGeneric(OxTellarServices::BaseGlobalAttributeProviderLegacy& provider,
                     const std::string& name, const std::string& locationPath,
                     std::string* foundAt);

} // namespace OxTellarCookInterfaceUtils

#endif
