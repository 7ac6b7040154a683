#ifndef LANTERN_READING_SHAPES_H
#define LANTERN_READING_SHAPES_H

#include <array>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "SceneData.h"
#include "reading/Place.h"
#include "reading/Shutter.h"
#include "reading/Warnings.h"

namespace lantern {

/// What a location shows.
enum class Kind { Group, Mesh, SubdivisionMesh, Points, Sphere, Light, FaceSet };

/// All shapes of a scene; equal ones are read once. Any number of threads may ask.
class Shapes {
public:
    Shapes(const Suites& suites, const Shutter& shutter, Warnings& warnings)
        : suites(suites), shutter(shutter), warnings(warnings) {}

    /// The number of the shape of a kind that this geometry describes; kNone when there is nothing
    /// to see. Numbers come in the order of asking. The place is for warnings.
    Index find(Kind kind, const Attribute& geometry, const Place& place);

    /// All by their numbers; to be called once, when nobody asks any more.
    std::deque<Shape> take() { return std::move(shapes); }

private:
    struct Entry {
        std::mutex lock; // held while it is read
        bool isRead = false;
        Index shape = kNone;
    };
    struct Shard {
        std::mutex lock;
        std::unordered_map<Hash, std::shared_ptr<Entry>, HashOfHash> entries;
    };

    std::shared_ptr<Entry> entryOf(const Hash& key);
    Index read(Kind kind, const Attribute& geometry, const Place& place);

    const Suites& suites;
    const Shutter& shutter;
    Warnings& warnings;
    std::array<Shard, 16> shards;
    std::mutex lock; // guards shapes
    std::deque<Shape> shapes;
};

} // namespace lantern

#endif
