#ifndef TELLAR_BENCH_WALK_H
#define TELLAR_BENCH_WALK_H

#include <OxTellarProducers/GeometryProducer.h>

#include "Checksum.h"
#include "PointerTree.h"

namespace TellarBench {

// The walks as any user writes them, and what is read at each location.

using TELLAR::GeometryProducer;
using Producer = GeometryProducer::Ptr;

template <typename Visit>
void Walk(GeometryProducer* location, const Visit& visit) {
    visit(location);
    for (Producer child = location->getFirstChild(false); child;
         child = child->getNextSibling(false))
        Walk(child.get(), visit);
}

template <typename Visit>
void Walk(const Node* node, const Visit& visit) {
    visit(node);
    for (const auto& child : node->children)
        Walk(child.get(), visit);
}

inline LocationSum ReadNames(GeometryProducer* location) {
    LocationSum sum;
    sum.addText(location->getName());
    sum.addText(location->getType());
    return sum;
}

inline LocationSum ReadNames(const Node* node) {
    LocationSum sum;
    sum.addText(node->name);
    sum.addText(node->type);
    return sum;
}

/// Of a GeometryProducer* or a const Node*.
template <typename Location>
Checksum WalkNames(Location top) {
    Checksum sum;
    Walk(top, [&sum](Location location) { sum.add(ReadNames(location)); });
    return sum;
}

} // namespace TellarBench

#endif
