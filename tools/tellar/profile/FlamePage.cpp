#include "ProfileReport.h"

#include "FlameTemplate.h"
#include "JsonText.h"
#include "NumberText.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using TELLAR::CookTotals;
using TELLAR::ProfiledCall;

std::string EscapedText(const std::string& text) {
    std::string out;
    for (const char byte : text) {
        if (byte == '<')
            out += "&lt;";
        else if (byte == '&')
            out += "&amp;";
        else
            out += byte;
    }
    return out;
}

/// JSON that does not end the element of the page in which it stands.
std::string WithoutTags(const std::string& json) {
    std::string out;
    for (const char byte : json) {
        if (byte == '<')
            out += "\\u003c";
        else
            out += byte;
    }
    return out;
}

std::string MillisecondsText(double seconds) {
    return FixedText(seconds * 1000, 6);
}

std::string JsonOfOps(const ProfileReport& report) {
    std::vector<std::string> ops;
    for (std::size_t i = 0; i < report.profile.ops.size(); ++i) {
        const TELLAR::ProfiledOp& op = report.profile.ops[i];
        ops.push_back(
            JsonArray({TextJson(op.name), TextJson(op.type), TextJson(report.places[i])}));
    }
    return JsonLines(ops);
}

std::string JsonOfCalls(const TELLAR::SceneProfile& profile) {
    std::vector<std::string> calls;
    for (const ProfiledCall& call : profile.calls) {
        const CookTotals& totals = call.totals;
        const bool isOutermost = call.parent == ProfiledCall::kNoParent;
        calls.push_back(
            JsonArray({isOutermost ? "-1" : std::to_string(call.parent), std::to_string(call.op),
                       std::to_string(totals.cooks), MillisecondsText(totals.ownSeconds),
                       MillisecondsText(totals.totalSeconds), std::to_string(totals.waits),
                       MillisecondsText(totals.waitSeconds), std::to_string(totals.errors),
                       std::to_string(totals.bytesMade)}));
    }
    return JsonLines(calls);
}

std::string SummaryOf(const ProfileReport& report) {
    const CookTotals& totals = report.profile.totals;
    return std::to_string(report.locations) + " locations, " + std::to_string(totals.cooks) +
           " cooks, " + FixedText(totals.ownSeconds, 3) + " s of own time";
}

} // namespace

std::string FlamePage(const ProfileReport& report) {
    const std::string data = JsonObject()
                                 .addJson("scene", TextJson(report.scene))
                                 .add("summary", SummaryOf(report))
                                 .addJson("ops", JsonOfOps(report))
                                 .addJson("calls", JsonOfCalls(report.profile))
                                 .document();
    std::string title;
    AppendPrintable(title, report.scene);
    return kFlameHead + EscapedText(title) + kFlameStyle + WithoutTags(data) + kFlameScript;
}

} // namespace TellarTool
