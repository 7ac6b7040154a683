#ifndef TELLAR_TOOL_FILTEREDPRINTER_H
#define TELLAR_TOOL_FILTEREDPRINTER_H

#include <memory>
#include <string>

#include "LocationFilter.h"
#include "LocationPrinter.h"
#include "Totals.h"

namespace TellarTool {

/// Has `printer` print the locations that match, each as if a walk began and ended with it, and
/// adds them to the totals. The filter and the totals must outlive the printer.
std::unique_ptr<LocationPrinter> MakeFilteredPrinter(std::unique_ptr<LocationPrinter> printer,
                                                     const LocationFilter& filter,
                                                     SharedTotals& totals);

/// Turns JSON objects, each with a line feed at its end, into the members of an array.
class JsonMembers {
public:
    /// The members that the text holds, with what separates them from earlier ones.
    std::string next(const std::string& text);

private:
    bool isFirst = true;
};

} // namespace TellarTool

#endif
