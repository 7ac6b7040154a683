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

/// What a location's attributes say; the same for all locations that share them.
struct LocationFacts {
    Attribute attributes;
    Kind kind = Kind::Group;
    bool isVisible = true;
    const Delegates::Delegate* delegate = nullptr; ///< that of the type
    LocalTransform transform;
    Attribute material;
    Attribute geometry; ///< of what has a shape
    Attribute textures; ///< of meshes
    std::size_t faceCount = 0;

    // What was found out when they were last met.
    std::optional<Index> shape;
    MaterialChain::Ptr materialsAbove;
    MaterialChain::Ptr materials; ///< those of the location below `materialsAbove`
    std::optional<Index> surface; ///< of `surfaceMaterials`
    Hash surfaceMaterials;

    /// Those from here down, for a location below others with these.
    const MaterialChain::Ptr& materialsBelow(const MaterialChain::Ptr& above);
};

/// The facts of the locations met last. For one thread.
class FactsMemory {
public:
    FactsMemory(const Suites& suites, const Shutter& shutter, const Delegates& delegates)
        : suites(suites), shutter(shutter), delegates(delegates), slots(kSlots) {}

    /// Valid until the next call.
    LocationFacts& of(const Attribute& attributes);

private:
    static constexpr std::size_t kSlots = 1024;

    LocationFacts read(const Attribute& attributes) const;

    const Suites& suites;
    const Shutter& shutter;
    const Delegates& delegates;
    // By the attributes' address, which is nobody else's as long as they are kept here.
    std::vector<std::unique_ptr<LocationFacts>> slots;
};

} // namespace lantern

#endif
