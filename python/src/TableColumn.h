#ifndef TELLAR_PYTHON_TABLECOLUMN_H
#define TELLAR_PYTHON_TABLECOLUMN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "TableMemory.h"

namespace TellarPython {

/// The kind of values in a column. It is decided by its rows: a column begins with None.
enum class ValueKind { None, Int, Long, Float, Double, Text };

/// The bytes of one value; 1 for texts, whose bytes are counted alone.
std::size_t SizeOf(ValueKind kind);
/// True if the kinds are not text and something else.
bool AreCompatible(ValueKind a, ValueKind b);
/// The kind that holds values of both exactly. Integers and floats become doubles, as in numpy.
ValueKind Common(ValueKind a, ValueKind b);
/// Copies values, `from` and `to` being kinds of numbers, the latter one that Common returns for
/// both. The places may be the same, or overlap if `to` begins first.
void ConvertBackwards(ValueKind from, const void* source, ValueKind to, void* target,
                      std::size_t count);

/// A place in a column: how much of everything is before it.
struct ColumnPlace {
    std::size_t row = 0;
    std::size_t value = 0; // of numbers, or texts
    std::size_t byte = 0;  // of texts
};

/// The values of a column, row by row. For one thread.
///
/// Rows without a value take no room until `fillMissing`. All rows have the same number of values
/// until one has another; from then on the column is ragged, and says where each row ends.
class TableColumn {
public:
    TableColumn() = default;
    /// A column of which the kind and the number of values in a row are known.
    TableColumn(ValueKind kindOfValues, std::int64_t valuesInRow) : width(valuesInRow) {
        become(kindOfValues);
    }

    // Each adds a row.

    template <typename T>
    void addNumbers(const T* numbers, std::size_t count, std::int64_t tupleSize);
    void addText(std::string_view text);
    void addTexts(const OxAttribute::ConstStringSample& texts, std::int64_t tupleSize);
    void addMissing();

    ValueKind getKind() const { return kind; }
    std::size_t countRows() const { return rows; }
    ColumnPlace getEnd() const;
    bool isRagged() const { return !rowEnds.empty(); }
    bool hasMissing() const { return !missing.empty(); }
    /// The values in every row that has any; -1 without such a row. Only if it is not ragged.
    std::int64_t getWidth() const { return width; }
    /// The tuple size of all rows; 0 when they have different ones.
    std::int64_t getTuple() const { return tuple < 0 ? 1 : tuple; }

    /// Makes room in a column that is not ragged for the rows without a value: NaN, 0 or an empty
    /// text.
    void fillMissing();

    /// Numbers of the kind, or the bytes of all texts. From here on they are the column's memory
    /// itself, for those who join columns or hand them on.
    GrowingArray<unsigned char> values;
    GrowingArray<std::int64_t> textEnds; // in bytes, from 0 on; empty for numbers
    GrowingArray<std::int64_t> rowEnds;  // in values, from 0 on; empty unless ragged
    GrowingArray<bool> missing;          // empty when all rows have a value

private:
    friend class ColumnJoin;

    void addRow(std::size_t count, std::int64_t tupleSize);
    void become(ValueKind wanted);
    void makeRagged();
    std::size_t countValues() const;

    ValueKind kind = ValueKind::None;
    std::int64_t width = -1;
    std::int64_t tuple = -1; // -1: no row has a value yet
    std::size_t rows = 0;
};

} // namespace TellarPython

#endif
