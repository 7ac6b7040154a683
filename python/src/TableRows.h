#ifndef TELLAR_PYTHON_TABLEROWS_H
#define TELLAR_PYTHON_TABLEROWS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/Attribute.h>

#include "TableJoin.h"
#include "TableOrder.h"
#include "TableRequest.h"
#include "WorldMatrix.h"

namespace TellarPython {

/// The facts that have to be known of locations, whatever the number of columns that ask for it.
struct TableNeeds {
    explicit TableNeeds(const TableRequest& request)
        : type(has(request, ColumnSubject::Type) || request.selection.hasTypes()),
          path(has(request, ColumnSubject::Path)), world(has(request, ColumnSubject::WorldMatrix)),
          isPassingDown(path || world || has(request, ColumnSubject::Parent)) {}

    static bool has(const TableRequest& request, ColumnSubject subject) {
        return std::any_of(request.columns.begin(), request.columns.end(),
                           [&](const ColumnRequest& column) { return column.subject == subject; });
    }

    const bool type;
    const bool path;
    const bool world;
    const bool isPassingDown;
};

/// A location that is left out.
struct FailedLocation {
    std::vector<std::int64_t> place;
    std::exception_ptr error;
};

/// A column without rows.
TableColumn NewColumn(const ColumnRequest& request);

/// The number that a thread gives to its row, unique among all threads; they ascend on each.
std::int64_t NumberOfRow(int thread, std::size_t row);
/// The thread that gave a number.
std::size_t ThreadOfRow(std::int64_t number);

/// Throws that an attribute is a string at one location and a number at another.
[[noreturn]] void RefuseMixture(const ColumnRequest& request, bool isFirstText,
                                const std::string& first, const std::string& second);

/// The rows that one thread gathers.
class TableRows {
public:
    /// Both have to live as long as the rows. A thread that is alone needs no runs.
    TableRows(const TableRequest& request, const TableNeeds& needs, int thread, bool isAlone);

    TELLAR::VisitWish visit(TELLAR::VisitedLocation& visited);
    /// To be called behind the last location. Type columns get indices of `all`, the types of all
    /// threads.
    void finish(const std::vector<std::string>& all);

    std::size_t countRows() const { return rows; }
    std::vector<ColumnPart>& getParts() { return parts; }
    /// The location of the first row with a value, for each column of an attribute.
    const std::vector<TELLAR::GeometryProducer::Ptr>& getFirsts() const { return firsts; }
    const std::vector<std::string>& getTypes() const { return types; }
    std::vector<FailedLocation>& getFailures() { return failures; }
    /// The place of the first row of each run; empty for a thread that is alone.
    const std::vector<std::vector<std::int64_t>>& getRunPlaces() const { return runPlaces; }

private:
    /// The values that are read of a location before anything is added, because reading may fail.
    /// Attributes are a member of the table.
    struct Row {
        TELLAR::VisitWish wish = TELLAR::VisitWish::GoOn;
        std::int64_t children = 0; // that will be visited
        bool isSelected = false;
        OxAttribute::StringAttribute type;
        WorldMatrix world;
        std::optional<Imath::M44d> local;
        std::string path;
    };

    static std::int64_t DepthOf(const TELLAR::GeometryProducer& location);
    void read(const TELLAR::VisitedLocation& visited, Row& row);
    void readColumns(TELLAR::GeometryProducer& location, Row& row);
    void add(const TELLAR::VisitedLocation& visited, const Row& row);
    void addValue(std::size_t index, const TELLAR::VisitedLocation& visited, const Row& row);
    void addAttribute(std::size_t index, TELLAR::GeometryProducer& location);
    void addNumber(std::size_t index, std::int32_t number);
    void passDown(TELLAR::VisitedLocation& visited, Row& row) const;
    void startRun(const std::vector<std::int64_t>& place);
    std::int32_t codeOf(std::string_view type);

    const TableRequest& request;
    const TableNeeds& needs;
    const int thread;
    const bool isJoined;
    const std::int64_t startDepth;

    std::vector<ColumnPart> parts;
    std::size_t rows = 0;
    TableOrder order;
    bool isRunOver = true;
    std::size_t runStart = 0; // the first row of the last run
    std::vector<std::vector<std::int64_t>> runPlaces;
    std::vector<FailedLocation> failures;
    std::vector<OxAttribute::Attribute> attributes; // of the location that is being read
    std::vector<TELLAR::GeometryProducer::Ptr> firsts;
    std::vector<std::string> types;                      // in the order of their first rows
    std::unordered_map<std::string, std::int32_t> codes; // indices of `types`
    std::int32_t lastCode = 0;
};

} // namespace TellarPython

#endif
