#include "ProfileReport.h"

#include <string_view>

#include "JsonText.h"
#include "PrintableText.h"
#include "text/Utf8.h"

namespace TellarTool {

namespace {

using TELLAR::CookTotals;
using TELLAR::SceneProfile;

std::string JsonCount(std::uint64_t count) {
    return std::to_string(count);
}

void AddTotals(JsonObject& object, const CookTotals& totals) {
    object.addJson("cooks", JsonCount(totals.cooks))
        .addJson("errors", JsonCount(totals.errors))
        .add("ownSeconds", totals.ownSeconds)
        .add("totalSeconds", totals.totalSeconds)
        .addJson("waits", JsonCount(totals.waits))
        .add("waitSeconds", totals.waitSeconds)
        .addJson("bytesMade", JsonCount(totals.bytesMade));
}

std::string JsonOfOps(const ProfileReport& report) {
    std::vector<std::string> ops;
    for (std::size_t i = 0; i < report.profile.ops.size(); ++i) {
        const TELLAR::ProfiledOp& op = report.profile.ops[i];
        JsonObject object;
        object.add("name", op.name).add("type", op.type);
        object.addJson("place", JsonOrNull(report.places[i]));
        AddTotals(object, op.totals);
        ops.push_back(object.line());
    }
    return JsonLines(ops);
}

std::string JsonOfTypes(const SceneProfile& profile) {
    std::vector<std::string> types;
    for (const TELLAR::ProfiledOpType& type : profile.opTypes) {
        JsonObject object;
        object.add("type", type.type).addJson("ops", JsonCount(type.ops));
        AddTotals(object, type.totals);
        types.push_back(object.line());
    }
    return JsonLines(types);
}

std::string JsonOfLocations(const SceneProfile& profile) {
    std::vector<std::string> locations;
    for (const TELLAR::ProfiledLocation& location : profile.locations) {
        JsonObject object;
        object.add("path", location.path);
        AddTotals(object, location.totals);
        locations.push_back(object.line());
    }
    return JsonLines(locations);
}

/// Calls name their op and their parent by index; the outermost ones have no parent.
std::string JsonOfCalls(const SceneProfile& profile) {
    std::vector<std::string> calls;
    for (const TELLAR::ProfiledCall& call : profile.calls) {
        JsonObject object;
        const bool isOutermost = call.parent == TELLAR::ProfiledCall::kNoParent;
        object.addJson("parent", isOutermost ? "null" : JsonCount(call.parent))
            .addJson("op", JsonCount(call.op));
        AddTotals(object, call.totals);
        calls.push_back(object.line());
    }
    return JsonLines(calls);
}

std::string JsonOfErrors(const SceneProfile& profile) {
    std::vector<std::string> errors;
    for (const ErrorFacts& error : profile.errors)
        errors.push_back(JsonObject()
                             .add("text", error.text)
                             .addJson("op", JsonOrNull(error.op))
                             .addJson("opType", JsonOrNull(error.opType))
                             .addJson("location", JsonOrNull(error.location))
                             .addJson("attribute", JsonOrNull(error.attribute))
                             .addJson("file", JsonOrNull(error.file))
                             .line());
    return JsonLines(errors);
}

} // namespace

std::string TextJson(const std::string& text) {
    std::string utf8;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length =
            TellarInternal::Utf8CharacterBytes(std::string_view(text).substr(i));
        if (length == 0)
            AppendByteNumber(utf8, text[i]);
        else
            utf8.append(text, i, length);
        i += length == 0 ? 1 : length;
    }
    return Json(utf8);
}

std::string ProfileJson(const ProfileReport& report) {
    const SceneProfile& profile = report.profile;
    JsonObject totals;
    AddTotals(totals, profile.totals);
    JsonObject document;
    document.add("scene", report.scene)
        .add("start", report.start)
        .addJson("locations", JsonCount(report.locations))
        .addJson("failedLocations", JsonCount(report.failed))
        .addJson("threads", JsonCount(profile.threads))
        .add("openSeconds", report.openSeconds)
        .add("cookSeconds", report.cookSeconds);
    document.addJson("picture", JsonOrNull(report.picture))
        .add("drawSeconds", report.drawSeconds)
        .addJson("drawCooks", JsonCount(report.drawCooks));
    document.addJson("totals", totals.line())
        .addJson("ops", JsonOfOps(report))
        .addJson("opTypes", JsonOfTypes(profile))
        .addJson("costliestLocations", JsonOfLocations(profile))
        .addJson("calls", JsonOfCalls(profile))
        .addJson("callsMerged", JsonCount(profile.callsMerged))
        .addJson("cooksLost", JsonCount(profile.cooksLost))
        .addJson("errors", JsonOfErrors(profile));
    return document.document();
}

} // namespace TellarTool
