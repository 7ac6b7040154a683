#ifndef LANTERN_READING_SHAPES_H
#define LANTERN_READING_SHAPES_H

#include <array>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "SceneData.h"
#include "reading/Place.h"
#include "reading/ShapeMemory.h"
#include "reading/Shutter.h"
#include "reading/Warnings.h"

namespace lantern {

/// How a location is drawn.
enum class Kind { Group, Mesh, SubdivisionMesh, Points, Sphere, Curves, Light, FaceSet };

/// The shapes of a scene; equal ones are read once. Safe from several threads at once.
class Shapes {
public:
    /// Shapes that are in the memory are left empty.
    Shapes(const Suites& suites, const Shutter& shutter, const ShapeMemory& memory,
           Warnings& warnings)
        : suites(suites), shutter(shutter), memory(memory), warnings(warnings) {}

    /// The number of the shape that this geometry describes; kNone if it cannot be drawn. Numbers
    /// are assigned in the order of the calls. The place is for warnings.
    Index find(Kind kind, const Attribute& geometry, const Place& place);

    struct Found {
        Shape shape;
        ShapeSource source;
    };
    /// All shapes by number; to be called once, after the last find().
    std::deque<Found> take() { return std::move(shapes); }

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
    Index read(Kind kind, const Attribute& geometry, const Hash& content, const Place& place);
    Index add(Found found);

    const Suites& suites;
    const Shutter& shutter;
    const ShapeMemory& memory;
    Warnings& warnings;
    std::array<Shard, 16> shards;
    std::mutex lock; // guards shapes
    std::deque<Found> shapes;
};

} // namespace lantern

#endif
