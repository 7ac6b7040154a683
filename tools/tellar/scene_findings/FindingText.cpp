#include "FindingText.h"

#include <algorithm>
#include <cstdint>

#include "JsonText.h"
#include "OpPlaces.h"
#include "PrintableText.h"
#include "Table.h"

namespace TellarTool {

namespace {

using TELLAR::CheckFinding;
using TELLAR::CheckReport;
using TELLAR::CheckRule;
using TELLAR::CheckSeverity;
using TELLAR::CheckTotal;

std::string Printable(const std::string& text) {
    std::string out;
    AppendPrintable(out, text);
    return out;
}

std::string Counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string LineOf(const CheckFinding& finding) {
    std::string line = TELLAR::GetCheckSeverityName(finding.severity);
    line += ": " + PlaceOf(finding) + ": " + Printable(finding.text);
    if (finding.others > 0) line += " (and " + Counted(finding.others, "other location") + ')';
    return line + " [" + finding.rule + "]\n";
}

std::uint64_t CountListed(const CheckReport& report, const std::string& rule) {
    std::uint64_t count = 0;
    for (const CheckFinding& finding : report.findings)
        if (finding.rule == rule) count += 1 + finding.others;
    return count;
}

std::string SumsOf(const CheckReport& report) {
    const std::string end = " in " + Counted(report.locations, "location") + '\n';
    if (report.totals.empty()) return "no problems" + end;
    return Counted(report.count(CheckSeverity::Error), "error") + ", " +
           Counted(report.count(CheckSeverity::Warning), "warning") + " and " +
           Counted(report.count(CheckSeverity::Note), "note") + end;
}

std::string JsonOf(const CheckFinding& finding) {
    return JsonObject()
        .add("rule", finding.rule)
        .add("severity", std::string(TELLAR::GetCheckSeverityName(finding.severity)))
        .addJson("location", JsonOrNull(finding.location))
        .addJson("attribute", JsonOrNull(finding.attribute))
        .addJson("op", JsonOrNull(finding.op))
        .addJson("opType", JsonOrNull(finding.opType))
        .addJson("place", JsonOrNull(finding.op.empty() ? std::string() : PlaceOfOp(finding.op)))
        .addJson("file", JsonOrNull(finding.file))
        .add("text", finding.text)
        .addJson("others", std::to_string(finding.others))
        .line();
}

std::string JsonOf(const CheckTotal& total) {
    return JsonObject()
        .add("rule", total.rule)
        .add("severity", std::string(TELLAR::GetCheckSeverityName(total.severity)))
        .addJson("count", std::to_string(total.count))
        .line();
}

std::string JsonOf(const CheckRule& rule) {
    return JsonObject()
        .add("rule", std::string(rule.name))
        .add("severity", std::string(TELLAR::GetCheckSeverityName(rule.severity)))
        .add("catches", std::string(rule.catches))
        .add("advice", std::string(rule.advice))
        .addJson("needsWholeScene", rule.needsWholeScene ? "true" : "false")
        .line();
}

template <typename Values>
std::string LinesOf(const Values& values) {
    std::vector<std::string> lines;
    lines.reserve(values.size());
    for (const auto& value : values)
        lines.push_back(JsonOf(value));
    return JsonLines(lines);
}

} // namespace

std::string PlaceOf(const CheckFinding& finding) {
    if (!finding.location.empty())
        return Printable(finding.location) +
               (finding.attribute.empty() ? "" : ": " + Printable(finding.attribute));
    const std::string place = PlaceOfOp(finding.op);
    return Printable((place.empty() ? place : place + ": ") + finding.opType + " \"" + finding.op +
                     '"');
}

std::string TextOf(const CheckReport& report) {
    std::string text;
    for (const CheckFinding& finding : report.findings)
        text += LineOf(finding);
    for (const CheckTotal& total : report.totals) {
        const std::uint64_t listed = CountListed(report, total.rule);
        if (listed < total.count)
            text += "... and " + std::to_string(total.count - listed) + " more of [" + total.rule +
                    "]\n";
    }
    return text + SumsOf(report);
}

std::string JsonOf(const CheckReport& report) {
    return JsonObject()
        .addJson("findings", LinesOf(report.findings))
        .addJson("totals", LinesOf(report.totals))
        .addJson("locations", std::to_string(report.locations))
        .document();
}

std::string RulesText() {
    Table rows;
    for (const CheckRule& rule : TELLAR::GetCheckRules())
        rows.push_back({rule.name, TELLAR::GetCheckSeverityName(rule.severity), rule.catches});
    std::string text;
    AppendTable(text, rows);
    return text;
}

std::string RulesJson() {
    return JsonObject().addJson("rules", LinesOf(TELLAR::GetCheckRules())).document();
}

} // namespace TellarTool
