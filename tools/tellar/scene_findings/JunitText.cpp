#include "JunitText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "FindingText.h"
#include "PrintableText.h"
#include "text/Utf8.h"

namespace TellarTool {

namespace {

using TELLAR::CheckFinding;
using TELLAR::CheckReport;
using TELLAR::CheckRule;

/// U+FFFE and U+FFFF, which XML does not allow, in UTF-8.
bool IsNoCharacter(std::string_view character) {
    return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

void AppendCharacter(std::string& out, std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (character == "&")
        out += "&amp;";
    else if (character == "<")
        out += "&lt;";
    else if (character == ">")
        out += "&gt;";
    else if (character == "\"")
        out += "&quot;";
    else if ((first < 0x20 && character != "\n") || first == 0x7F || IsNoCharacter(character))
        for (const char byte : character)
            AppendByteNumber(out, byte);
    else
        out += character;
}

/// Text for XML. Bytes that are no text there become "\x1b".
std::string Xml(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = TellarInternal::Utf8CharacterBytes(text);
        if (length == 0)
            AppendByteNumber(out, text.front());
        else
            AppendCharacter(out, text.substr(0, length));
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

std::string Attribute(const char* name, std::string_view value) {
    return std::string(" ") + name + "=\"" + Xml(value) + '"';
}

std::uint64_t CountOf(const CheckReport& report, const std::string& rule) {
    for (const TELLAR::CheckTotal& total : report.totals)
        if (total.rule == rule) return total.count;
    return 0;
}

std::string LinesOf(const CheckReport& report, const std::string& rule) {
    std::string text;
    for (const CheckFinding& finding : report.findings)
        if (finding.rule == rule) text += PlaceOf(finding) + ": " + finding.text + '\n';
    return text;
}

bool Fails(const CheckRule& rule, const JunitSuite& suite) {
    return suite.failOn && rule.severity >= *suite.failOn;
}

std::string CaseOf(const CheckReport& report, const CheckRule& rule, const JunitSuite& suite) {
    const std::string begin = "    <testcase" + Attribute("classname", "tellar.check") +
                              Attribute("name", rule.name) + Attribute("time", "0");
    const std::uint64_t count = CountOf(report, rule.name);
    if (count == 0) return begin + "/>\n";
    const std::string lines = Xml(LinesOf(report, rule.name));
    if (!Fails(rule, suite))
        return begin + ">\n      <system-out>" + lines + "</system-out>\n    </testcase>\n";
    const std::string message = std::to_string(count) + ": " + rule.catches;
    return begin + ">\n      <failure" + Attribute("message", message) +
           Attribute("type", TELLAR::GetCheckSeverityName(rule.severity)) + ">" + lines +
           "</failure>\n    </testcase>\n";
}

} // namespace

std::string JunitOf(const CheckReport& report, const JunitSuite& suite) {
    std::string cases;
    std::size_t failures = 0;
    for (const CheckRule& rule : TELLAR::GetCheckRules()) {
        if (std::find(suite.rules.begin(), suite.rules.end(), rule.name) == suite.rules.end())
            continue;
        cases += CaseOf(report, rule, suite);
        if (Fails(rule, suite) && CountOf(report, rule.name) > 0) ++failures;
    }
    char seconds[32];
    std::snprintf(seconds, sizeof(seconds), "%.3f", suite.seconds);
    const std::string counts = Attribute("tests", std::to_string(suite.rules.size())) +
                               Attribute("failures", std::to_string(failures)) +
                               Attribute("errors", "0") + Attribute("time", seconds);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts + ">\n  <testsuite" +
           Attribute("name", suite.scene) + counts + ">\n" + cases +
           "  </testsuite>\n</testsuites>\n";
}

} // namespace TellarTool
