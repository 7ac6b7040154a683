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

/// Some faces of a mesh with a material of their own: a child of the type "faceset".
struct FaceSet {
    Place place;
    MaterialChain::Ptr materials;
    Attribute faces; ///< "geometry.faces": integers
};

/// All by which a location's faces get their materials.
struct SurfaceQuestion {
    const Place& place;
    const MaterialChain::Ptr& materials;
    Attribute textures; ///< the location's group of that name
    std::size_t faceCount = 0;
    std::vector<FaceSet> faceSets;

    Hash hash() const;
};

/// All surfaces and materials of a scene; equal ones are there once. Any number of threads may ask.
class Surfaces {
public:
    Surfaces(const Suites& suites, Warnings& warnings);

    /// Numbers come in the order of asking.
    Index find(const SurfaceQuestion& question);

    /// The surfaces by number, with materials by number. The first material is the default one.
    struct All {
        std::vector<Surface> surfaces;
        std::vector<MaterialDraft> materials;
    };
    /// To be called once, when nobody asks any more.
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
    std::mutex lock; // guards what follows
    All all;
    std::map<std::string, Index> materialsByKey;
    std::map<std::pair<Index, std::vector<Index>>, Index> surfacesByContent;
};

} // namespace lantern

#endif
