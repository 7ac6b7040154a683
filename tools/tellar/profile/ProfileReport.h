#ifndef TELLAR_TOOL_PROFILEREPORT_H
#define TELLAR_TOOL_PROFILEREPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneProfile.h>

namespace TellarTool {

/// A profile, and what else the command found out.
struct ProfileReport {
    std::string scene;      ///< as the user wrote it
    std::string start;      ///< the location from which on the scene was cooked
    double openSeconds = 0; ///< reading the scene, and cooking from /root to the start
    std::string picture;    ///< empty when none was drawn
    double drawSeconds = 0;
    std::uint64_t drawCooks = 0; ///< those of the renderer
    double cookSeconds = 0;
    std::uint64_t locations = 0;
    std::uint64_t failed = 0;
    TELLAR::SceneProfile profile;
    std::vector<std::string> places; ///< of profile.ops: "scene.json:14:5"; empty where unknown
};

/// For people: tables by op, op type and location.
std::string ProfileText(const ProfileReport& report);

/// One JSON document with everything but the events.
std::string ProfileJson(const ProfileReport& report);

/// The events as a JSON document in the Trace Event Format.
std::string TraceText(const ProfileReport& report);

/// A page in HTML, complete in itself, that shows the calls of ops as nested bars.
std::string FlamePage(const ProfileReport& report);

/// "forest (Array)".
std::string OpTitle(const TELLAR::ProfiledOp& op);

/// A JSON string, whatever the text is: bytes that are not UTF-8 become "\\xff".
std::string TextJson(const std::string& text);

} // namespace TellarTool

#endif
