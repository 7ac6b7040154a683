#include "FilteredPrinter.h"

#include <utility>
#include <vector>

namespace TellarTool {

namespace {

class FilteredPrinter final : public LocationPrinter {
public:
    FilteredPrinter(std::unique_ptr<LocationPrinter> printer, const LocationFilter& filter,
                    SharedTotals& totals)
        : printer(std::move(printer)), filter(filter), totals(totals) {}

    void open(const Visit& visit, std::string& out) const override {
        if (!filter.matchesPath(visit.location)) return;
        const std::string type = visit.location.getType();
        totals.noteType(type);
        if (!filter.matchesType(type)) return;
        totals.add(TotalsOf(visit.location));
        const std::vector<bool> noLevels;
        const Visit alone{visit.location, noLevels, false, true};
        printer->open(alone, out);
        printer->close(alone, out);
    }

    void close(const Visit&, std::string&) const override {}

private:
    const std::unique_ptr<LocationPrinter> printer;
    const LocationFilter& filter;
    SharedTotals& totals;
};

} // namespace

std::unique_ptr<LocationPrinter> MakeFilteredPrinter(std::unique_ptr<LocationPrinter> printer,
                                                     const LocationFilter& filter,
                                                     SharedTotals& totals) {
    return std::make_unique<FilteredPrinter>(std::move(printer), filter, totals);
}

} // namespace TellarTool
