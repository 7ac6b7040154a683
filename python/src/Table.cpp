#include "Table.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <nanobind/ndarray.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include "Errors.h"
#include "PythonCode.h"
#include "TableGathering.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

nb::object PythonPart() {
    return nb::module_::import_("tellar._table");
}

std::vector<ColumnRequest> RequestsOf(const nb::object& columns) {
    std::vector<ColumnRequest> requests;
    for (const nb::handle row : PythonPart().attr("requests_of")(columns))
        requests.push_back(
            {BytesOf(row[0]), static_cast<ColumnSubject>(nb::cast<int>(row[1])), BytesOf(row[2])});
    return requests;
}

/// Lets Ctrl-C end the gathering.
void CheckSignals() {
    const PythonCode running;
    if (PyErr_CheckSignals() != 0) throw nb::python_error();
}

// Arrays that own the memory of a column ----------------------------------------------------------

using Shape = std::vector<std::size_t>;

template <typename T>
nb::object ArrayOf(Memory memory, const Shape& shape) {
    T* const data = static_cast<T*>(memory.get());
    auto kept = std::make_unique<Memory>(std::move(memory));
    const nb::capsule owner(kept.get(),
                            [](void* block) noexcept { delete static_cast<Memory*>(block); });
    static_cast<void>(kept.release());
    return nb::cast(nb::ndarray<nb::numpy, T>(data, shape.size(), shape.data(), owner),
                    nb::rv_policy::reference);
}

template <typename T>
nb::object ArrayOf(GrowingArray<T>& array) {
    const std::size_t count = array.size();
    return ArrayOf<T>(array.take(), {count});
}

nb::object NumbersOf(TableColumn& column, const Shape& shape) {
    switch (column.getKind()) {
    case ValueKind::Int:
        return ArrayOf<std::int32_t>(column.values.take(), shape);
    case ValueKind::Long:
        return ArrayOf<std::int64_t>(column.values.take(), shape);
    case ValueKind::Float:
        return ArrayOf<float>(column.values.take(), shape);
    default:
        return ArrayOf<double>(column.values.take(), shape);
    }
}

Shape ShapeOf(const TableColumn& column, ColumnSubject subject) {
    const std::size_t rows = column.countRows();
    const bool isMatrix =
        subject == ColumnSubject::WorldMatrix || subject == ColumnSubject::LocalMatrix;
    if (isMatrix) return {rows, 4, 4};
    if (column.getWidth() == 1 || column.getWidth() < 0) return {rows};
    return {rows, static_cast<std::size_t>(column.getWidth())};
}

/// Counts in tuples where each row has whole ones of the same size.
Shape ShapeOfRagged(TableColumn& column) {
    const auto values = static_cast<std::size_t>(column.rowEnds.back());
    const std::int64_t tuple = column.getTuple();
    if (tuple < 2) return {values};
    for (std::size_t i = 0; i < column.rowEnds.size(); ++i)
        column.rowEnds[i] /= tuple;
    return {values / static_cast<std::size_t>(tuple), static_cast<std::size_t>(tuple)};
}

/// Values, where texts end, where rows end, and which are missing: the last three may be None.
nb::tuple PartsOf(TableColumn& column, ColumnSubject subject) {
    const nb::object missing = column.hasMissing() ? ArrayOf(column.missing) : nb::none();
    nb::object values;
    nb::object textEnds = nb::none();
    if (column.getKind() == ValueKind::Text) {
        values = ArrayOf(column.values);
        if (column.textEnds.empty()) column.textEnds.push(0);
        textEnds = ArrayOf(column.textEnds);
    } else {
        values =
            NumbersOf(column, column.isRagged() ? ShapeOfRagged(column) : ShapeOf(column, subject));
    }
    const nb::object rowEnds = column.isRagged() ? ArrayOf(column.rowEnds) : nb::none();
    return nb::make_tuple(values, textEnds, rowEnds, missing);
}

nb::object TypesOf(const GatheredTable& table) {
    nb::list types;
    for (const std::string& type : table.types)
        types.append(TextOf(type));
    return types;
}

} // namespace

nb::object TableOf(TELLAR::GeometryProducer::Ptr start, Selection selection, nb::object columns,
                   int threads, nb::object onError) {
    TableRequest request{std::move(start), std::move(selection), RequestsOf(columns),
                         threads,          !onError.is_none(),   CheckSignals};
    GatheredTable table = Unlocked([&] { return GatherTable(request); });
    const nb::object types = TypesOf(table);
    nb::dict parts;
    for (std::size_t i = 0; i < request.columns.size(); ++i) {
        const ColumnRequest& column = request.columns[i];
        parts[TextOf(column.name)] =
            nb::make_tuple(PartsOf(table.columns[i], column.subject),
                           column.subject == ColumnSubject::Type ? types : nb::none());
    }
    for (const std::exception_ptr& error : table.errors)
        onError(ExceptionObject(error));
    return PythonPart().attr("Table")(table.rows, parts);
}

} // namespace TellarPython
