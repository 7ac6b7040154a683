#ifndef TELLAR_PYTHON_TABLEORDER_H
#define TELLAR_PYTHON_TABLEORDER_H

#include <cstdint>
#include <vector>

#include <OxTellarProducers/VisitLocations.h>

namespace TellarPython {

/// Finds out where the locations that one thread visits stop to follow each other in the tree,
/// because another thread has visited some in between. For one thread.
class TableOrder {
public:
    /// To be called for every location of the thread. Returns false if one that other threads
    /// visited, or none that exists, may lie between it and the last one.
    bool follows(const std::vector<std::int64_t>& place);
    /// To be called behind `follows`: the number of potential children that will be visited.
    void setChildren(std::int64_t count) { children = count; }

private:
    bool isNext(const std::vector<std::int64_t>& place) const;

    bool isFirst = true;
    std::vector<std::int64_t> last; // the place of the last location
    std::int64_t children = 0;      // that were to be visited below it
    // For each level down to the last location, the number of potential children of the location
    // above; -1 where another thread visited that one.
    std::vector<std::int64_t> siblings;
};

} // namespace TellarPython

#endif
