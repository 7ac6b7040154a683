#ifndef TELLAR_VISIT_VISITINANYORDER_H
#define TELLAR_VISIT_VISITINANYORDER_H

#include <memory>

#include <OxTellarProducers/VisitLocations.h>

#include "DepthFirst.h"

namespace TELLAR {

/// Visits the children of the start and what is below them, on several threads at once. One thread
/// alone visits them in the order of the tree. `inherited` is passed down to the children.
VisitEnd VisitInAnyOrder(Siblings children, std::shared_ptr<const void> inherited, int threads,
                         const VisitOptions& options, const Visitor& visitor);

} // namespace TELLAR

#endif
