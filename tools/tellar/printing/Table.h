#ifndef TELLAR_TOOL_TABLE_H
#define TELLAR_TOOL_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include <Imath/ImathMatrix.h>

#include "NumberText.h"

namespace TellarTool {

/// Cells by row. Rows may have different lengths.
using Table = std::vector<std::vector<std::string>>;

/// Appends a line for every row, with aligned columns.
void AppendTable(std::string& out, const Table& table, std::size_t indent = 0);

/// Appends a line for each note.
void AppendNotes(std::string& out, const std::vector<std::string>& notes);

/// Appends a heading and the four rows below it.
template <typename T>
void AppendMatrix(std::string& out, const std::string& heading, const Imath::Matrix44<T>& matrix) {
    constexpr std::size_t kIndent = 4;
    Table rows(4);
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            rows[row].push_back(NumberText(matrix[row][column]));
    out += heading + '\n';
    AppendTable(out, rows, kIndent);
}

} // namespace TellarTool

#endif
