#ifndef OXTELLARSDK_CHANGEDLOCATIONS_H
#define OXTELLARSDK_CHANGEDLOCATIONS_H

#include <memory>

#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace OxOpType {

/// The locations whose results may differ between two committed Ops, which may be Ops of different
/// runtimes. Null stands for an Op without locations.
///
/// The answer comes from the two graphs and from the op types (OpType::touchedBy and
/// touchedThrough). Nothing is cooked, and what equal Ops lie below is not looked at. It is
/// everything for Ops that cannot be cooked or are not committed, where an op type does not tell,
/// and for graphs that differ in very many places. Takes time in proportion to the differing parts
/// of the graphs.
///
/// Ops that read files are compared by their arguments. A change inside a file is not seen.
///
/// Threads: may be called from any number of threads at once.
OXTELLARSDK_API OxLocationPath::LocationSet
ChangedLocations(const std::shared_ptr<TellarRuntime::Op>& before,
                 const std::shared_ptr<TellarRuntime::Op>& after);

} // namespace OxOpType

#endif
