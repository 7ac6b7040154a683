#ifndef TELLAR_PYTHON_TABLEGATHERING_H
#define TELLAR_PYTHON_TABLEGATHERING_H

#include <exception>
#include <string>
#include <vector>

#include "TableColumn.h"
#include "TableRequest.h"

namespace TellarPython {

struct GatheredTable {
    std::size_t rows = 0;
    /// One for each request. Rows without a value are filled, unless the column is ragged.
    std::vector<TableColumn> columns;
    /// The texts of a Type column, sorted. Its integers are indices of them.
    std::vector<std::string> types;
    /// The errors of locations that are left out, in the order of the tree.
    std::vector<std::exception_ptr> errors;
};

/// Visits the selected locations and gathers their values, in the order of the tree. Needs no lock
/// of the interpreter. Throws TellarError naming the column and the locations where numbers and
/// texts would be mixed.
GatheredTable GatherTable(const TableRequest& request);

} // namespace TellarPython

#endif
