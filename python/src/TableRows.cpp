#include "TableRows.h"

#include <memory>
#include <utility>

#include <OxTellarProducers/LocationTransforms.h>
#include <OxTellarSDK/TellarError.h>

#include "Values.h"

namespace TellarPython {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;
using TELLAR::VisitedLocation;
using TELLAR::VisitWish;

constexpr std::int64_t kMatrixValues = 16;
/// Longer runs are divided: threads join runs, and each run that is joined frees its memory.
constexpr std::size_t kMostRowsInRun = 16384;
constexpr int kRowBits = 40; // of a row's number; the thread's is above

/// The values that the visitor passes down to the children of a location.
struct Inherited {
    WorldMatrix world;
    std::int64_t row = -1; // with the thread's number; -1 unless the location was selected
    std::string path;
};

/// An error of the column `request`, not of a location.
[[noreturn]] void Refuse(const ColumnRequest& request, const std::string& text,
                         const std::string& location) {
    ErrorFacts facts;
    facts.code = kOxErrorValue;
    facts.text = "column \"" + request.name + "\": " + text;
    facts.location = location;
    facts.attribute = request.attribute;
    throw TellarError(facts);
}

/// None for what has no values: null, and nothing.
ValueKind KindOf(const Attribute& attribute) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return ValueKind::Int;
    case kAttributeTypeFloat:
        return ValueKind::Float;
    case kAttributeTypeDouble:
        return ValueKind::Double;
    case kAttributeTypeString:
        return ValueKind::Text;
    default:
        return ValueKind::None;
    }
}

template <typename T>
void AddSample(TableColumn& column, const NumericAttribute<T>& attribute) {
    const ConstSample<T> sample = attribute.getNearestSample(0);
    column.addNumbers(sample.data(), sample.size(), attribute.getTupleSize());
}

void AddSample(TableColumn& column, const StringAttribute& attribute) {
    column.addTexts(attribute.getNearestSample(0), attribute.getTupleSize());
}

const Inherited* Above(const VisitedLocation& visited) {
    return static_cast<const Inherited*>(visited.inherited.get());
}

} // namespace

TableColumn NewColumn(const ColumnRequest& request) {
    switch (request.subject) {
    case ColumnSubject::Path:
    case ColumnSubject::Name:
        return TableColumn(ValueKind::Text, 1);
    case ColumnSubject::Type:
    case ColumnSubject::Depth:
        return TableColumn(ValueKind::Int, 1);
    case ColumnSubject::Parent:
        return TableColumn(ValueKind::Long, 1);
    case ColumnSubject::WorldMatrix:
    case ColumnSubject::LocalMatrix:
        return TableColumn(ValueKind::Double, kMatrixValues);
    default:
        return TableColumn();
    }
}

void RefuseMixture(const ColumnRequest& request, bool isFirstText, const std::string& first,
                   const std::string& second) {
    Refuse(request,
           "\"" + request.attribute + "\" is a " + (isFirstText ? "string" : "number") + " at " +
               first + " and a " + (isFirstText ? "number" : "string") + " at " + second,
           second);
}

std::int64_t NumberOfRow(int thread, std::size_t row) {
    return static_cast<std::int64_t>(thread) << kRowBits | static_cast<std::int64_t>(row);
}

std::size_t ThreadOfRow(std::int64_t number) {
    return static_cast<std::size_t>(number >> kRowBits);
}

TableRows::TableRows(const TableRequest& request, const TableNeeds& needs, int thread, bool isAlone)
    : request(request), needs(needs), thread(thread), isJoined(!isAlone),
      startDepth(DepthOf(*request.start)), attributes(request.columns.size()),
      firsts(request.columns.size()) {
    for (const ColumnRequest& column : request.columns)
        parts.push_back({NewColumn(column), {}});
}

std::int64_t TableRows::DepthOf(const GeometryProducer& location) {
    std::int64_t depth = 0;
    for (auto* above = location.getRawParentPtr(); above; above = above->getRawParentPtr())
        ++depth;
    return depth;
}

VisitWish TableRows::visit(VisitedLocation& visited) {
    if (isJoined && !order.follows(visited.place)) isRunOver = true;
    order.setChildren(0);
    Row row;
    try {
        if (visited.error) std::rethrow_exception(visited.error);
        read(visited, row);
    } catch (...) {
        if (!request.isKeepingErrors) throw;
        failures.push_back({visited.place, std::current_exception()});
        return VisitWish::Prune;
    }
    order.setChildren(row.children);
    if (row.isSelected) add(visited, row);
    if (needs.isPassingDown && row.children > 0) passDown(visited, row);
    return row.wish;
}

void TableRows::read(const VisitedLocation& visited, Row& row) {
    GeometryProducer& location = *visited.location;
    row.wish = request.selection.wishAt(visited);
    if (row.wish == VisitWish::GoOn && (isJoined || needs.isPassingDown))
        row.children = location.getPotentialChildren().getNumberOfValues();
    if (needs.type) row.type = location.getAttribute("type");
    row.isSelected = request.selection.has(visited, row.type.getValueView());
    if (!row.isSelected && row.children == 0) return;
    const Inherited* const above = Above(visited);
    if (needs.world && above) row.world = above->world.below(location);
    if (needs.world && !above) row.world = WorldMatrix::Of(location);
    if (needs.path)
        row.path = above ? above->path + '/' + location.getName() : location.getFullName();
    if (row.isSelected) readColumns(location, row);
}

void TableRows::readColumns(GeometryProducer& location, Row& row) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const ColumnRequest& column = request.columns[i];
        if (column.subject == ColumnSubject::Attribute)
            attributes[i] = location.getAttribute(column.attribute.c_str());
        else if (column.subject == ColumnSubject::GlobalAttribute)
            attributes[i] = location.getGlobalAttribute(column.attribute);
        else if (column.subject == ColumnSubject::LocalMatrix && !row.local)
            row.local = TELLAR::GetLocalMatrix(location);
    }
}

void TableRows::add(const VisitedLocation& visited, const Row& row) {
    if (isJoined && (isRunOver || rows - runStart == kMostRowsInRun)) startRun(visited.place);
    for (std::size_t i = 0; i < parts.size(); ++i)
        addValue(i, visited, row);
    ++rows;
}

void TableRows::addValue(std::size_t index, const VisitedLocation& visited, const Row& row) {
    TableColumn& column = parts[index].column;
    switch (request.columns[index].subject) {
    case ColumnSubject::Path:
        return column.addText(row.path);
    case ColumnSubject::Name:
        return column.addText(visited.location->getName());
    case ColumnSubject::Type:
        return addNumber(index, codeOf(row.type.getValueView()));
    case ColumnSubject::Depth:
        return addNumber(index, static_cast<std::int32_t>(startDepth) +
                                    static_cast<std::int32_t>(visited.getDepth()));
    case ColumnSubject::Parent: {
        const std::int64_t parent = visited.parent ? Above(visited)->row : -1;
        return column.addNumbers(&parent, 1, 1);
    }
    case ColumnSubject::WorldMatrix:
        return column.addNumbers(row.world.get().getValue(), kMatrixValues, kMatrixValues);
    case ColumnSubject::LocalMatrix:
        return column.addNumbers(row.local->getValue(), kMatrixValues, kMatrixValues);
    default:
        addAttribute(index, *visited.location);
    }
}

void TableRows::addNumber(std::size_t index, std::int32_t number) {
    parts[index].column.addNumbers(&number, 1, 1);
}

void TableRows::addAttribute(std::size_t index, GeometryProducer& location) {
    TableColumn& column = parts[index].column;
    const ColumnRequest& asked = request.columns[index];
    const Attribute attribute = std::move(attributes[index]);
    if (attribute.getType() == kAttributeTypeGroup)
        Refuse(asked, "\"" + asked.attribute + "\" is a group at " + location.getFullName(),
               location.getFullName());
    const ValueKind kind = KindOf(attribute);
    if (kind == ValueKind::None) return column.addMissing();
    if (!AreCompatible(column.getKind(), kind))
        RefuseMixture(asked, kind != ValueKind::Text, firsts[index]->getFullName(),
                      location.getFullName());
    if (!firsts[index]) firsts[index] = &location;
    WithData(attribute, [&](const auto& data) { AddSample(column, data); });
}

void TableRows::passDown(VisitedLocation& visited, Row& row) const {
    row.world.keepForChildren();
    const std::int64_t number = NumberOfRow(thread, rows - 1);
    visited.passedDown = std::make_shared<const Inherited>(
        Inherited{std::move(row.world), row.isSelected ? number : -1, std::move(row.path)});
}

void TableRows::startRun(const std::vector<std::int64_t>& place) {
    isRunOver = false;
    runStart = rows;
    runPlaces.push_back(place);
    for (ColumnPart& part : parts)
        part.runs.push_back(part.column.getEnd());
}

std::int32_t TableRows::codeOf(std::string_view type) {
    const auto last = static_cast<std::size_t>(lastCode);
    if (last < types.size() && types[last] == type) return lastCode;
    const auto next = static_cast<std::int32_t>(types.size());
    const auto [code, isNew] = codes.emplace(type, next);
    if (isNew) types.emplace_back(type);
    return lastCode = code->second;
}

void TableRows::finish(const std::vector<std::string>& all) {
    std::vector<std::int32_t> newCodes;
    for (const std::string& type : types)
        newCodes.push_back(static_cast<std::int32_t>(
            std::lower_bound(all.begin(), all.end(), type) - all.begin()));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        parts[i].runs.push_back(parts[i].column.getEnd());
        if (request.columns[i].subject != ColumnSubject::Type) continue;
        auto* const values = reinterpret_cast<std::int32_t*>(parts[i].column.values.data());
        for (std::size_t row = 0; row < rows; ++row)
            values[row] = newCodes[static_cast<std::size_t>(values[row])];
    }
}

} // namespace TellarPython
