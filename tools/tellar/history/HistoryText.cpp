#include "HistoryText.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "HistoryAnswer.h"
#include "HistoryRows.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using TELLAR::LocationHistory;

constexpr const char* kBold = "\x1b[1m";
constexpr const char* kDim = "\x1b[2m";
constexpr const char* kPlain = "\x1b[0m";
constexpr std::size_t kGap = 2; // spaces between columns

/// Pads to columns of equal width. Characters of several bytes count as one.
std::size_t WidthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::vector<std::size_t> WidthsOf(const std::vector<HistoryRow>& rows) {
    std::vector<std::size_t> widths;
    for (const HistoryRow& row : rows) {
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (std::size_t i = 0; i < row.cells.size(); ++i)
            widths[i] = std::max(widths[i], WidthOf(row.cells[i]));
    }
    return widths;
}

void AppendCells(std::string& out, const HistoryRow& row, const std::vector<std::size_t>& widths) {
    std::size_t spaces = 0;
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        if (widths[i] == 0) continue; // a column without any text
        if (!row.cells[i].empty()) {
            out.append(spaces, ' ');
            out += row.cells[i];
            spaces = 0;
        }
        spaces += widths[i] - WidthOf(row.cells[i]) + kGap;
    }
}

void AppendRow(std::string& out, const HistoryRow& row, const std::vector<std::size_t>& widths,
               bool hasColours) {
    const char* const colour = !hasColours ? "" : row.isDecision ? kBold : row.isQuiet ? kDim : "";
    out += row.isDecision ? "> " : "  ";
    out += colour;
    AppendCells(out, row, widths);
    if (*colour) out += kPlain;
    out += '\n';
    for (const std::string& detail : row.details)
        out.append("      ").append(detail) += '\n';
}

} // namespace

std::string HistoryText(const LocationHistory& history, const HistoryTextOptions& options) {
    std::string out;
    for (const std::string& line : AnswerLines(history)) {
        const bool isFirst = out.empty();
        if (isFirst && options.colours) out += kBold;
        AppendPrintable(out, line);
        if (isFirst && options.colours) out += kPlain;
        out += '\n';
    }
    const std::vector<HistoryRow> rows = RowsOf(history, options.all);
    if (rows.empty()) return out;
    out += '\n';
    const std::vector<std::size_t> widths = WidthsOf(rows);
    for (const HistoryRow& row : rows)
        AppendRow(out, row, widths, options.colours);
    return out;
}

} // namespace TellarTool
