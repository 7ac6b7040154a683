#ifndef TELLAR_VISIT_VISITINORDER_H
#define TELLAR_VISIT_VISITINORDER_H

#include <memory>

#include <OxTellarProducers/VisitLocations.h>

#include "DepthFirst.h"

namespace TELLAR {

/// Visits the children of the start and what is below them on the calling thread, in the order of
/// the tree, while the other threads cook ahead. `inherited` is passed down to the children.
VisitEnd VisitInOrder(Siblings children, std::shared_ptr<const void> inherited, int threads,
                      const VisitOptions& options, const Visitor& visitor);

} // namespace TELLAR

#endif
