#ifndef LANTERN_READING_WALKER_H
#define LANTERN_READING_WALKER_H

#include <cstdint>
#include <deque>
#include <vector>

#include "reading/LocationFacts.h"
#include "reading/Walk.h"
#include "reading/WalkQueue.h"

namespace lantern {

/// What a location has from those above it.
struct Inherited {
    Transform transform;
    MaterialChain::Ptr materials;
};

/// Some children of a location, in a row, to be visited with all below them.
struct WalkJob {
    Location parent;       ///< none: the root is to be visited
    Attribute names;       ///< the parent's potential children
    std::int64_t next = 0; ///< the first of them
    std::int64_t end = 0;
    Location root;
    Inherited inherited;
    SceneParts::Part part;
};

/// One thread's walk. It goes depth first with a stack of its own: scenes may be deeper than a
/// thread's.
///
/// When somebody waits, it gives away half of the children that are left to it at the uppermost
/// level that has any. All that is left to it then comes before what it gave away in the scene's
/// order: so a part for that is inserted right after its own.
class Walker {
public:
    Walker(const WalkContext& context, WalkQueue<WalkJob>& queue)
        : context(context), queue(queue),
          memory(context.suites, context.shutter, context.delegates) {}

    /// Takes jobs until there are none any more, or somebody has failed.
    void run();

private:
    /// A row of siblings of which one is visited.
    struct Level {
        Inherited inherited;
        Place place; ///< none when the row is over
        bool isVisited = false;
        bool isAlone = false; ///< has no siblings
        // Known only where the row's end was given away or the row itself is such an end:
        Attribute names;
        std::int64_t number = 0; ///< of the place, among the names
        std::int64_t end = 0;
    };

    void walk(WalkJob job);
    void start(WalkJob& job);
    void advance(Level& level);
    void visit(Level& level);
    void show(const Place& place, LocationFacts& facts, const Place& firstChild);
    Index surfaceOf(const Place& place, LocationFacts& facts, const Place& firstChild);
    std::vector<FaceSet> faceSetsAmong(Place child) const;
    void addLight(const Place& place, const LocationFacts& facts);

    Level& push(Place place);
    void lookUp();
    void giveAway();
    bool giveHalfOf(Level& level);
    static void findEnd(Level& level);

    const WalkContext& context;
    WalkQueue<WalkJob>& queue;
    FactsMemory memory;
    SceneParts::Part part;
    std::deque<Level> levels; // the first `depth` are in use
    std::size_t depth = 0;
    std::size_t firstToGive = 0; // levels above have nothing left
    Inherited here;              // of the place that is visited, for those below
    std::uint64_t visited = 0;
};

} // namespace lantern

#endif
