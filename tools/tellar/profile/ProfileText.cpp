#include "ProfileReport.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "NumberText.h"
#include "PrintableText.h"
#include "Table.h"

namespace TellarTool {

namespace {

using TELLAR::CookTotals;
using TELLAR::SceneProfile;

constexpr std::size_t kIndent = 2;

std::string SecondsText(double seconds) {
    return FixedText(seconds, 3) + " s";
}

std::string MillisecondsText(double seconds) {
    return FixedText(seconds * 1000, 3);
}

std::string BytesText(std::uint64_t bytes) {
    constexpr double kStep = 1024;
    constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 10000) return std::to_string(bytes) + " B";
    std::size_t unit = 0;
    double size = double(bytes) / kStep;
    for (; size >= kStep && unit < 3; ++unit)
        size /= kStep;
    return FixedText(size, 1) + ' ' + kUnits[unit];
}

/// One column of numbers.
struct Column {
    const char* title;
    std::function<std::string(const CookTotals&)> text;
};

/// The columns of a profile. Those that would hold nothing but zeros are left out.
std::vector<Column> ColumnsOf(const SceneProfile& profile) {
    const double own = profile.totals.ownSeconds;
    std::vector<Column> columns = {
        {"own ms", [](const CookTotals& t) { return MillisecondsText(t.ownSeconds); }},
        {"own %",
         [own](const CookTotals& t) {
             return FixedText(own > 0 ? 100 * t.ownSeconds / own : 0, 1);
         }},
        {"total ms", [](const CookTotals& t) { return MillisecondsText(t.totalSeconds); }},
        {"cooks", [](const CookTotals& t) { return std::to_string(t.cooks); }},
        {"made", [](const CookTotals& t) { return BytesText(t.bytesMade); }}};
    if (profile.totals.waits > 0) {
        columns.push_back({"waits", [](const CookTotals& t) { return std::to_string(t.waits); }});
        columns.push_back(
            {"wait ms", [](const CookTotals& t) { return MillisecondsText(t.waitSeconds); }});
    }
    if (profile.totals.errors > 0)
        columns.push_back({"errors", [](const CookTotals& t) { return std::to_string(t.errors); }});
    return columns;
}

/// Fills the first `count` cells of all rows up from the left.
void AlignRight(Table& table, std::size_t count) {
    for (std::size_t column = 0; column < count; ++column) {
        std::size_t width = 0;
        for (const auto& row : table)
            width = std::max(width, row[column].size());
        for (auto& row : table)
            row[column].insert(0, width - row[column].size(), ' ');
    }
}

/// A table whose rows begin with numbers and end with names.
class CostTable {
public:
    CostTable(const SceneProfile& profile, const std::vector<std::string>& names)
        : columns(ColumnsOf(profile)) {
        std::vector<std::string>& titles = table.emplace_back();
        for (const Column& column : columns)
            titles.emplace_back(column.title);
        titles.insert(titles.end(), names.begin(), names.end());
    }

    void add(const CookTotals& totals, const std::vector<std::string>& names) {
        std::vector<std::string>& row = table.emplace_back();
        for (const Column& column : columns)
            row.push_back(column.text(totals));
        row.insert(row.end(), names.begin(), names.end());
    }

    void appendTo(std::string& out) {
        AlignRight(table, columns.size());
        AppendTable(out, table, kIndent);
    }

private:
    const std::vector<Column> columns;
    Table table;
};

std::string CountText(std::uint64_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string CooksText(const SceneProfile& profile) {
    const CookTotals& totals = profile.totals;
    std::string text = std::to_string(totals.cooks) + ", " + SecondsText(totals.ownSeconds) +
                       " of own time in " + CountText(profile.threads, "thread");
    if (totals.waits > 0)
        text += ", " + CountText(totals.waits, "wait") + " of " + SecondsText(totals.waitSeconds);
    if (totals.errors > 0) text += ", " + CountText(totals.errors, "error");
    return text;
}

void AppendSummary(std::string& out, const ProfileReport& report) {
    const SceneProfile& profile = report.profile;
    std::string locations = std::to_string(report.locations);
    if (report.failed > 0) locations += ", and " + std::to_string(report.failed) + " failed";
    Table rows = {{"scene", report.scene},
                  {"locations", locations},
                  {"opened in", SecondsText(report.openSeconds)}};
    if (!report.picture.empty())
        rows.push_back({"drawn in", SecondsText(report.drawSeconds) + ", with " +
                                        CountText(report.drawCooks, "cook")});
    rows.push_back({"cooked in", SecondsText(report.cookSeconds)});
    rows.push_back({"cooks", CooksText(profile)});
    rows.push_back({"made", BytesText(profile.totals.bytesMade)});
    AppendTable(out, rows);
}

void AppendOps(std::string& out, const ProfileReport& report) {
    CostTable table(report.profile, {"op (op type)", "place"});
    for (std::size_t i = 0; i < report.profile.ops.size(); ++i) {
        const TELLAR::ProfiledOp& op = report.profile.ops[i];
        std::vector<std::string> names = {OpTitle(op)};
        if (!report.places[i].empty()) names.push_back(report.places[i]);
        table.add(op.totals, names);
    }
    out += "\nops\n";
    table.appendTo(out);
}

void AppendOpTypes(std::string& out, const SceneProfile& profile) {
    CostTable table(profile, {"op type", "ops"});
    for (const TELLAR::ProfiledOpType& type : profile.opTypes)
        table.add(type.totals, {type.type, std::to_string(type.ops)});
    out += "\nop types\n";
    table.appendTo(out);
}

void AppendLocations(std::string& out, const SceneProfile& profile) {
    if (profile.locations.empty()) return;
    CostTable table(profile, {"location"});
    for (const TELLAR::ProfiledLocation& location : profile.locations)
        table.add(location.totals, {location.path});
    out += "\ncostliest locations\n";
    table.appendTo(out);
}

void AppendErrors(std::string& out, const SceneProfile& profile) {
    if (profile.errors.empty()) return;
    out += "\nerrors\n";
    for (const ErrorFacts& error : profile.errors) {
        out.append(kIndent, ' ');
        AppendPrintable(out, error.text);
        out += '\n';
    }
    const std::uint64_t more = profile.totals.errors - profile.errors.size();
    if (more > 0) out += "  and " + std::to_string(more) + " more\n";
}

std::vector<std::string> NotesAbout(const SceneProfile& profile) {
    std::vector<std::string> notes;
    if (profile.callsMerged > 0)
        notes.push_back("ops need each other in very many ways: " +
                        CountText(profile.callsMerged, "call") + " are counted at others");
    if (profile.cooksLost > 0)
        notes.push_back("memory was missing for " + CountText(profile.cooksLost, "cook"));
    return notes;
}

} // namespace

std::string OpTitle(const TELLAR::ProfiledOp& op) {
    return op.name + " (" + op.type + ")";
}

std::string ProfileText(const ProfileReport& report) {
    std::string out;
    AppendSummary(out, report);
    if (!report.profile.ops.empty()) {
        AppendOps(out, report);
        AppendOpTypes(out, report.profile);
        AppendLocations(out, report.profile);
        AppendErrors(out, report.profile);
    }
    AppendNotes(out, NotesAbout(report.profile));
    return out;
}

} // namespace TellarTool
