#ifndef LANTERN_READING_LOCATIONFACTS_H
#define LANTERN_READING_LOCATIONFACTS_H

#include <memory>
#include <optional>
#include <vector>

#include "reading/Delegates.h"
#include "reading/MaterialChain.h"
#include "reading/Place.h"
#include "reading/Shapes.h"
#include "reading/Transform.h"

namespace lantern {

/// The interpreted attributes of a location, shared by all locations with the same attributes.
struct LocationFacts {
    Attribute attributes;
    Kind kind = Kind::Group;
    bool isVisible = true;
    const Delegates::Delegate* delegate =
        nullptr; ///< delegate for the location's type; may be null
    LocalTransform transform;
    Attribute material;
    Attribute materialAssign; ///< the path of the material; none without one
    Attribute geometry;       ///< none unless the location is a shape
    Attribute textures;       ///< none unless the location is a mesh
    std::size_t faceCount = 0;

    // Results for the location that was visited last.
    std::optional<Index> shape;
    MaterialChain::Ptr materialsAbove;
    MaterialChain::Ptr materials; ///< the location's own materials, below `materialsAbove`
    std::optional<Index>
        surface; ///< the surface made from the materials with hash `surfaceMaterials`
    Hash surfaceMaterials;

    /// The chain of a location whose ancestors have the materials `above`.
    const MaterialChain::Ptr& materialsBelow(const MaterialChain::Ptr& above);
};

/// A direct-mapped cache of the facts of recently visited locations. For one thread.
class FactsMemory {
public:
    FactsMemory(const Suites& suites, const Shutter& shutter, const Delegates& delegates)
        : suites(suites), shutter(shutter), delegates(delegates), slots(kSlots) {}

    /// The reference is valid until the next call.
    LocationFacts& of(const Attribute& attributes);

private:
    static constexpr std::size_t kSlots = 1024;

    LocationFacts read(const Attribute& attributes) const;

    const Suites& suites;
    const Shutter& shutter;
    const Delegates& delegates;
    // Keyed by the address of the attributes. The facts hold a reference to them, so an address is
    // not used again while it is in the cache.
    std::vector<std::unique_ptr<LocationFacts>> slots;
};

} // namespace lantern

#endif
