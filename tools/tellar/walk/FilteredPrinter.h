#ifndef TELLAR_TOOL_FILTEREDPRINTER_H
#define TELLAR_TOOL_FILTEREDPRINTER_H

#include <memory>
#include <string>

#include "LocationFilter.h"
#include "LocationPrinter.h"
#include "Totals.h"

namespace TellarTool {

/// A printer that prints matching locations with `printer`, each as if the walk consisted of it
/// alone, and adds them to the totals. The filter and the totals must outlive it.
std::unique_ptr<LocationPrinter> MakeFilteredPrinter(std::unique_ptr<LocationPrinter> printer,
                                                     const LocationFilter& filter,
                                                     SharedTotals& totals);

} // namespace TellarTool

#endif
