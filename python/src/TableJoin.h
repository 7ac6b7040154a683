#ifndef TELLAR_PYTHON_TABLEJOIN_H
#define TELLAR_PYTHON_TABLEJOIN_H

#include <cstddef>
#include <vector>

#include "TableColumn.h"

namespace TellarPython {

/// Rows that one thread gathered and that follow each other in the tree.
struct TableRun {
    std::size_t part = 0;  // the thread
    std::size_t index = 0; // among the runs of the thread
};

/// The part of a column that one thread gathered.
struct ColumnPart {
    TableColumn column;
    std::vector<ColumnPlace> runs; // where each run begins, and behind them the end of all
};

/// Joins the parts of a column in the order of runs. Each `copy` may be called on any thread, once;
/// it gives the memory of the run back to the system.
class ColumnJoin {
public:
    /// The kinds of the parts are compatible. The parts have to live as long as the join.
    ColumnJoin(std::vector<ColumnPart*> columnParts, const std::vector<TableRun>& runsInOrder);

    /// Copies run `number`, counted in the order of the runs.
    void copy(std::size_t number);
    /// The joined column, when all is copied.
    TableColumn take() { return std::move(joined); }

private:
    bool decideKind();
    void makeRoom(bool hasMissing);
    void copyValues(TableColumn& from, const ColumnPlace& begin, const ColumnPlace& end,
                    const ColumnPlace& target);
    void copyRows(const TableColumn& from, const ColumnPlace& begin, const ColumnPlace& end,
                  const ColumnPlace& target);

    std::vector<ColumnPart*> parts;
    const std::vector<TableRun>& runs;
    std::vector<ColumnPlace> targets; // of each run, and behind them the end of all
    TableColumn joined;
};

} // namespace TellarPython

#endif
