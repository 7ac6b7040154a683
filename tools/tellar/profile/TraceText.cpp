#include "ProfileReport.h"

#include "JsonText.h"
#include "NumberText.h"

namespace TellarTool {

namespace {

using TELLAR::ProfiledEvent;

/// Viewers group threads by processes. There is one.
constexpr const char* kProcess = "1";
constexpr double kMicroseconds = 1e6;
constexpr std::size_t kUsualBytes = 300; // of an event

/// Microseconds, to the nanosecond.
std::string TimeText(double seconds) {
    return FixedText(seconds * kMicroseconds, 3);
}

/// A thread's number in the trace, where they count from 1.
std::string ThreadText(std::size_t thread) {
    return std::to_string(thread + 1);
}

std::string MetaEvent(const char* name, std::size_t thread, const std::string& value) {
    return JsonObject()
        .addJson("name", '"' + std::string(name) + '"')
        .addJson("ph", "\"M\"")
        .addJson("pid", kProcess)
        .addJson("tid", ThreadText(thread))
        .addJson("args", JsonObject().add("name", value).line())
        .line();
}

/// What is the same for all events of an op.
struct OpTexts {
    std::string cookName;
    std::string waitName;
    std::string facts; ///< members of an object, with a comma in front
};

std::vector<OpTexts> TextsOf(const ProfileReport& report) {
    std::vector<OpTexts> texts;
    for (std::size_t i = 0; i < report.profile.ops.size(); ++i) {
        const TELLAR::ProfiledOp& op = report.profile.ops[i];
        OpTexts& text = texts.emplace_back();
        text.cookName = TextJson(OpTitle(op));
        text.waitName = TextJson("wait for " + OpTitle(op));
        text.facts = ", \"op\": " + TextJson(op.name) + ", \"opType\": " + TextJson(op.type);
        if (!report.places[i].empty()) text.facts += ", \"place\": " + TextJson(report.places[i]);
    }
    return texts;
}

void AppendEvent(std::string& out, const ProfiledEvent& event, const OpTexts& op) {
    const bool isCook = event.kind == ProfiledEvent::Cook;
    out += ",\n{\"name\": ";
    out += isCook ? op.cookName : op.waitName;
    out += isCook ? ", \"cat\": \"cook\"" : ", \"cat\": \"wait\"";
    out += ", \"ph\": \"X\", \"pid\": ";
    out += kProcess;
    out += ", \"tid\": " + ThreadText(event.thread);
    out += ", \"ts\": " + TimeText(event.start);
    out += ", \"dur\": " + TimeText(event.seconds);
    out += ", \"args\": {\"location\": " + TextJson(event.location) + op.facts;
    if (isCook) out += ", \"bytesMade\": " + std::to_string(event.bytesMade);
    if (event.hasFailed) out += ", \"failed\": true";
    out += "}}";
}

} // namespace

std::string TraceText(const ProfileReport& report) {
    const TELLAR::SceneProfile& profile = report.profile;
    const std::vector<OpTexts> ops = TextsOf(report);
    std::string out;
    out.reserve(profile.events.size() * kUsualBytes);
    out += "{\"displayTimeUnit\": \"ms\",\n\"otherData\": ";
    out += JsonObject()
               .addJson("scene", TextJson(report.scene))
               .addJson("events", std::to_string(profile.events.size()))
               .addJson("shorterEventsLeftOut", std::to_string(profile.eventsLeftOut))
               .line();
    out += ",\n\"traceEvents\": [\n" + MetaEvent("process_name", 0, "tellar profile");
    for (std::size_t i = 0; i < profile.threads; ++i)
        out += ",\n" + MetaEvent("thread_name", i, "cooking thread " + ThreadText(i));
    for (const ProfiledEvent& event : profile.events)
        AppendEvent(out, event, ops[event.op]);
    return out + "\n]}\n";
}

} // namespace TellarTool
