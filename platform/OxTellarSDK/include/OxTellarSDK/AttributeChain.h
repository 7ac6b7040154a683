#ifndef OXTELLARSDK_ATTRIBUTECHAIN_H
#define OXTELLARSDK_ATTRIBUTECHAIN_H

#include <cstddef>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

namespace OxAttribute {

/// The attributes of a location and of all its ancestors, the location's first. Borrowed: the
/// groups, and the array of pointers to them, belong to the caller.
struct AttributeChain {
    const GroupAttribute* const* groups;
    std::size_t count;
};

} // namespace OxAttribute

// What a location inherits, computed without asking a provider level by level.

namespace OxTellarCookInterfaceUtils {

/// The same as getGlobalAttrGeneric with a provider that finds `name` in the groups of the chain.
OXTELLARSDK_API OxAttribute::Attribute
getGlobalAttrOfChain(const OxAttribute::AttributeChain& chain, const std::string& name);

} // namespace OxTellarCookInterfaceUtils

namespace OxXFormUtil {

/// The children "xform" of the chain's groups, from the root down, named i0, i1, ... by their
/// depth; a group without one leaves a gap. The result does not inherit.
OXTELLARSDK_API OxAttribute::GroupAttribute
MakeTransformGroup(const OxAttribute::AttributeChain& chain);

/// Assigns the 16 values of CalcTransformMatrixAtTime(MakeTransformGroup(chain), time) to `matrix`,
/// bit by bit the same, without making the group. Returns false, and changes nothing, when no
/// transform takes part.
OXTELLARSDK_API bool CalcTransformMatrixOfChain(const OxAttribute::AttributeChain& chain,
                                                float time, double* matrix);

} // namespace OxXFormUtil

#endif
