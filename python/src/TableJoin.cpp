#include "TableJoin.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace TellarPython {

namespace {

/// Writes where rows or texts end: as `from` says for those from `first` on, shifted.
void CopyEnds(const GrowingArray<std::int64_t>& from, std::size_t first, std::size_t count,
              std::size_t before, std::size_t after, std::int64_t* target) {
    const std::int64_t shift = static_cast<std::int64_t>(after) - static_cast<std::int64_t>(before);
    for (std::size_t i = 0; i < count; ++i)
        target[i] = from[first + 1 + i] + shift;
}

} // namespace

ColumnJoin::ColumnJoin(std::vector<ColumnPart*> columnParts,
                       const std::vector<TableRun>& runsInOrder)
    : parts(std::move(columnParts)), runs(runsInOrder) {
    const bool hasMissing = decideKind();
    ColumnPlace target;
    for (const TableRun& run : runs) {
        targets.push_back(target);
        const std::vector<ColumnPlace>& places = parts[run.part]->runs;
        const ColumnPlace& begin = places[run.index];
        const ColumnPlace& end = places[run.index + 1];
        target.row += end.row - begin.row;
        target.value += end.value - begin.value;
        target.byte += end.byte - begin.byte;
    }
    targets.push_back(target);
    makeRoom(hasMissing);
}

/// Returns whether a row has no value.
bool ColumnJoin::decideKind() {
    bool isRagged = false;
    bool hasMissing = false;
    for (const ColumnPart* part : parts) {
        const TableColumn& column = part->column;
        joined.kind = Common(joined.kind, column.kind);
        hasMissing = hasMissing || column.hasMissing();
        if (column.width < 0) continue; // no row has a value
        isRagged =
            isRagged || column.isRagged() || (joined.width >= 0 && joined.width != column.width);
        joined.width = column.width;
        if (column.tuple < 0) continue;
        joined.tuple = joined.tuple < 0 || joined.tuple == column.tuple ? column.tuple : 0;
    }
    if (isRagged) joined.rowEnds.push(0);
    return hasMissing;
}

void ColumnJoin::makeRoom(bool hasMissing) {
    const ColumnPlace& end = targets.back();
    joined.rows = end.row;
    if (hasMissing) joined.missing.extend(end.row);
    if (joined.isRagged()) joined.rowEnds.extend(end.row);
    if (joined.kind == ValueKind::Text) {
        joined.textEnds.push(0);
        joined.textEnds.extend(end.value);
        joined.values.extend(end.byte);
    } else {
        joined.values.extend(end.value * SizeOf(joined.kind));
    }
}

void ColumnJoin::copy(std::size_t number) {
    const TableRun& run = runs[number];
    ColumnPart& part = *parts[run.part];
    const ColumnPlace& begin = part.runs[run.index];
    const ColumnPlace& end = part.runs[run.index + 1];
    copyRows(part.column, begin, end, targets[number]);
    copyValues(part.column, begin, end, targets[number]);
}

void ColumnJoin::copyRows(const TableColumn& from, const ColumnPlace& begin, const ColumnPlace& end,
                          const ColumnPlace& target) {
    const std::size_t rows = end.row - begin.row;
    if (joined.hasMissing()) {
        bool* const flags = joined.missing.data() + target.row;
        if (from.hasMissing())
            std::copy_n(from.missing.data() + begin.row, rows, flags);
        else
            std::fill_n(flags, rows, false);
    }
    if (!joined.isRagged()) return;
    std::int64_t* const ends = joined.rowEnds.data() + 1 + target.row;
    if (from.isRagged())
        return CopyEnds(from.rowEnds, begin.row, rows, begin.value, target.value, ends);
    auto value = static_cast<std::int64_t>(target.value);
    for (std::size_t i = 0; i < rows; ++i) {
        const bool isMissing = from.hasMissing() && from.missing[begin.row + i];
        ends[i] = value += isMissing ? 0 : from.width;
    }
}

void ColumnJoin::copyValues(TableColumn& from, const ColumnPlace& begin, const ColumnPlace& end,
                            const ColumnPlace& target) {
    const std::size_t count = end.value - begin.value;
    if (count == 0) return;
    if (from.kind == ValueKind::Text) {
        CopyEnds(from.textEnds, begin.value, count, begin.byte, target.byte,
                 joined.textEnds.data() + 1 + target.value);
        unsigned char* const source = from.values.data() + begin.byte;
        std::copy_n(source, end.byte - begin.byte, joined.values.data() + target.byte);
        return DropContent(source, end.byte - begin.byte);
    }
    const std::size_t size = SizeOf(from.kind);
    unsigned char* const source = from.values.data() + begin.value * size;
    ConvertBackwards(from.kind, source, joined.kind,
                     joined.values.data() + target.value * SizeOf(joined.kind), count);
    DropContent(source, count * size);
}

} // namespace TellarPython
