#ifndef LANTERN_READING_SURFACES_H
#define LANTERN_READING_SURFACES_H

#include <array>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "reading/MaterialChain.h"
#include "reading/Place.h"
#include "reading/ReadMaterial.h"
#include "reading/Warnings.h"

namespace lantern {

/// Faces of a mesh that have their own material: a child location of type "faceset".
struct FaceSet {
    Place place;
    MaterialChain::Ptr materials;
    Attribute faces; ///< "geometry.faces": integers
};

/// Everything that the materials of a location's faces depend on.
struct SurfaceQuestion {
    const Place& place;
    const MaterialChain::Ptr& materials;
    Attribute textures; ///< the location's group of that name
    std::size_t faceCount = 0;
    std::vector<FaceSet> faceSets;

    Hash hash() const;
};

/// The surfaces and materials of a scene; equal ones are stored once. Safe from several threads at
/// once.
class Surfaces {
public:
    Surfaces(const Suites& suites, Warnings& warnings);

    /// The number of the surface. Numbers are assigned in the order of the calls.
    Index find(const SurfaceQuestion& question);

    /// Surfaces and materials by number. The first material is the default one.
    struct All {
        std::vector<Surface> surfaces;
        std::vector<MaterialDraft> materials;
    };
    /// To be called once, after the last find().
    All take() { return std::move(all); }

private:
    struct Shard {
        std::mutex lock;
        std::unordered_map<Hash, Index, HashOfHash> numbers;
    };

    Surface read(const SurfaceQuestion& question);
    Index add(const MaterialDraft& draft);
    Index add(Surface surface);

    const Suites& suites;
    Warnings& warnings;
    std::array<Shard, 16> shards;
    std::mutex lock; // guards the members below
    All all;
    std::map<std::string, Index> materialsByKey;
    std::map<std::pair<Index, std::vector<Index>>, Index> surfacesByContent;
};

} // namespace lantern

#endif
