#ifndef LANTERN_READING_WALKER_H
#define LANTERN_READING_WALKER_H

#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "reading/LocationFacts.h"
#include "reading/Walk.h"
#include "reading/WalkQueue.h"

namespace lantern {

/// The state that a location inherits from its ancestors.
struct Inherited {
    Transform transform;
    MaterialChain::Ptr materials;
};

/// Consecutive children of a location, to be visited with their descendants.
struct WalkJob {
    Location parent;       ///< none if the root is to be visited
    Attribute names;       ///< the parent's potential children
    std::int64_t next = 0; ///< index of the first child
    std::int64_t end = 0;
    Location root;
    Inherited inherited;
    SceneParts::Part part;
};

/// The walk of one thread: depth first, with an explicit stack because a scene may be too deep for
/// recursion.
///
/// When another thread waits for work, the walker gives away the second half of the remaining
/// children at the uppermost level that has any. Everything that it keeps comes before them in
/// scene order, so their results go to a new part right after its own.
class Walker {
public:
    Walker(const WalkContext& context, WalkQueue<WalkJob>& queue)
        : context(context), queue(queue),
          memory(context.suites, context.shutter, context.delegates) {}

    /// Takes jobs until the work is over.
    void run();

private:
    /// One level of the stack: the current one of several siblings.
    struct Level {
        Inherited inherited;
        Place place; ///< none after the last sibling
        bool isVisited = false;
        bool isAlone = false; ///< has no siblings
        // Set only if some of the siblings were given away, here or by another walker:
        Attribute names;
        std::int64_t number = 0; ///< index of the place among the names
        std::int64_t end = 0;
    };

    void walk(WalkJob job);
    void start(WalkJob& job);
    void advance(Level& level);
    void visit(Level& level);
    void show(const Place& place, LocationFacts& facts, const Place& firstChild);
    Index shapeOf(const Place& place, LocationFacts& facts);
    Index surfaceOf(const Place& place, LocationFacts& facts, const Place& firstChild);
    std::vector<FaceSet> faceSetsAmong(Place child) const;
    void addLight(const Place& place, const LocationFacts& facts);

    /// A shape of a prototype, with the transforms of the locations between both.
    struct PlacedShape {
        std::vector<LocalTransform> transforms; ///< outermost first
        Index shape = 0;
        Index surface = 0;
    };
    using Prototype = std::vector<PlacedShape>;

    bool showInstances(const Place& place);
    std::optional<Prototype> readPrototype(const Location& top);
    const char* addPrototype(const Prototype& prototype, const M44d& matrix);

    Level& push(Place place);
    void checkIn();
    void giveAway();
    bool giveHalfOf(Level& level);
    static void findEnd(Level& level);

    const WalkContext& context;
    WalkQueue<WalkJob>& queue;
    FactsMemory memory;
    SceneParts::Part part;
    std::deque<Level> levels; // the first `depth` are in use
    std::size_t depth = 0;
    std::size_t firstToGive = 0; // the levels above have no more children to give
    Inherited here;              // the state that the children of the current place inherit
    std::uint64_t visited = 0;
};

} // namespace lantern

#endif
