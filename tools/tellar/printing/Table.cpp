#include "Table.h"

#include <algorithm>

#include "PrintableText.h"

namespace TellarTool {

namespace {

constexpr std::size_t kGap = 2; // spaces between columns

std::vector<std::size_t> ColumnWidths(const Table& table) {
    std::vector<std::size_t> widths;
    for (const auto& row : table) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    return widths;
}

} // namespace

void AppendTable(std::string& out, const Table& table, std::size_t indent) {
    const std::vector<std::size_t> widths = ColumnWidths(table);
    for (const auto& row : table) {
        out.append(indent, ' ');
        for (std::size_t column = 0; column < row.size(); ++column) {
            AppendPrintable(out, row[column]);
            const bool isLast = column + 1 == row.size();
            if (!isLast) out.append(widths[column] - row[column].size() + kGap, ' ');
        }
        out += '\n';
    }
}

void AppendNotes(std::string& out, const std::vector<std::string>& notes) {
    for (const std::string& note : notes) {
        out += "note: ";
        AppendPrintable(out, note);
        out += '\n';
    }
}

} // namespace TellarTool
