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

/// Turns JSON objects, each with a line feed at its end, into the members of an array.
class JsonMembers {
public:
    /// The members in the text, with separators between them and after earlier members.
    std::string next(const std::string& text);

private:
    bool isFirst = true;
};

} // namespace TellarTool

#endif
