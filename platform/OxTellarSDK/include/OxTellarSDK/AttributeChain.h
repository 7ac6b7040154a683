#ifndef OXTELLARSDK_ATTRIBUTECHAIN_H
#define OXTELLARSDK_ATTRIBUTECHAIN_H

#include <cstddef>
#include <cstdint>
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

/// The transforms of a location and of all its ancestors, for the locations below, which inherit
/// them. Made once for all children of a location, so that each of them adds no more than its own.
///
/// Borrows the value "xform" of the location, and the transforms of its ancestors: the attributes
/// of all these locations must live as long.
///
/// Threads: immutable.
struct OXTELLARSDK_API InheritedTransforms {
    /// `parent` is null for a location without ancestors. Throws std::runtime_error when a file is
    /// damaged where "xform" stands.
    InheritedTransforms(const OxAttribute::GroupAttribute& attrs,
                        const InheritedTransforms* parent);

    const InheritedTransforms* above; ///< of the nearest ancestor with "xform"; null if none has
    OxAttributeStruct* xform;         ///< null when the location has none
    std::uint32_t depth;              ///< ancestors of the location
    std::uint32_t count;              ///< values "xform" from the root to the location
    /// Whether `matrix` is known. It is not when transforms change with time, or cannot be read.
    bool isKnown;
    bool anyStep;      ///< Whether any transform takes part.
    double matrix[16]; ///< The product at all times.

private:
    void compose(const InheritedTransforms* parent);
};

/// The children "xform" of a location and its ancestors, from the root down, named i0, i1, ... by
/// their depth; a location without one leaves a gap. The result does not inherit. `parent` is what
/// the location inherits, or null.
///
/// The product that `parent` knows goes along in the group, so that CalcTransformMatrixAtTime needs
/// not read the ancestors' transforms again.
OXTELLARSDK_API OxAttribute::GroupAttribute
MakeTransformGroup(const OxAttribute::GroupAttribute& attrs, const InheritedTransforms* parent);

/// Assigns the 16 values of CalcTransformMatrixAtTime(MakeTransformGroup(attrs, parent), time) to
/// `matrix`, bit by bit the same, without making the group. Returns false, and changes nothing,
/// when no transform takes part. `parent` must be null or know its matrix.
OXTELLARSDK_API bool CalcTransformMatrixBelow(const OxAttribute::GroupAttribute& attrs,
                                              const InheritedTransforms* parent, float time,
                                              double* matrix);

/// The same for a location whose ancestors' transforms change with time.
OXTELLARSDK_API bool CalcTransformMatrixOfChain(const OxAttribute::AttributeChain& chain,
                                                float time, double* matrix);

} // namespace OxXFormUtil

#endif
