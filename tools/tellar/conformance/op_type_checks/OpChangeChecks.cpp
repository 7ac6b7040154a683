// The check that an op type tells all locations which an edit can touch.
#include "OpTypeChecks.h"

#include <chrono>
#include <exception>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/ChangedLocations.h>
#include <OxTellarSDK/LocationPath.h>

#include "OpCaseEditor.h"
#include "OpTypeUnderTest.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxLocationPath::LocationSet;
using TELLAR::SceneChange;
using TELLAR::SceneChanges;

constexpr std::chrono::seconds kLongest(10); // for the edits of one op in a large scene
constexpr std::size_t kMostPaths = 250;
// From here on the functions that tell changes are a part of the class.
constexpr unsigned int kVersionWithChanges = OxOpType::kPluginApiVersion;

/// The scene before and after an edit.
struct Revisions {
    ClientPtr before;
    ClientPtr after;
};

std::set<std::string> PathsOfBoth(const Revisions& revisions) {
    std::set<std::string> paths;
    for (const ClientPtr& client : {revisions.before, revisions.after})
        for (std::string& path : PathsOf(*client, kMostPaths))
            paths.insert(std::move(path));
    return paths;
}

/// Whether a walk along the set from the top meets the location.
bool Reaches(const LocationSet& set, const std::string& path) {
    if (!set.mayContain(path)) return false;
    for (std::string_view parent = OxLocationPath::Parent(path); !parent.empty();
         parent = OxLocationPath::Parent(parent))
        if (!set.mayContainBelow(parent)) return false;
    return true;
}

/// Whether the list tells a change of the location.
bool Tells(const SceneChanges& changes, const std::string& path) {
    for (const SceneChange& change : changes) {
        const bool isWhole =
            change.kind != SceneChange::Changed || change.oldError || change.newError;
        if (isWhole ? IsSelfOrBelow(path, change.path) : path == change.path) return true;
    }
    return false;
}

/// Whether both scenes have the location and every one above it.
bool IsVisible(TellarRuntime::Client& client, const std::string& path) {
    for (std::string_view each = path; !each.empty(); each = OxLocationPath::Parent(each)) {
        const Answer answer = Cook(client, std::string(each));
        if (answer.isError() || !answer.exists) return false;
    }
    return true;
}

/// The names of the attributes that differ at a location of both scenes.
std::vector<std::string> DifferingAttributes(const Revisions& revisions, const std::string& path) {
    return OxAttribute::DifferingChildren(revisions.before->cookLocation(path).getAttrs(),
                                          revisions.after->cookLocation(path).getAttrs());
}

/// The difference at a location in words: "attributes: xform, n".
std::string DifferenceAt(const std::string& path, const Revisions& revisions, const Answer& before,
                         const Answer& after) {
    if (!before.exists || !after.exists)
        return "before: " + before.text() + "; after: " + after.text();
    std::string text;
    for (const std::string& name : DifferingAttributes(revisions, path))
        text += (text.empty() ? "attributes: " : ", ") + name;
    return text.empty() ? "potential children, or the order of attributes" : text;
}

/// The fault at a location after an edit; an empty text if there is none.
std::string FaultAt(const std::string& path, const Revisions& revisions, const LocationSet& told,
                    const SceneChanges& changes) {
    const Answer before = Cook(*revisions.before, path);
    const Answer after = Cook(*revisions.after, path);
    if ((before.isError() && after.isError()) || before == after) return {};
    if (!Reaches(told, path))
        return " differs and is not told (" + DifferenceAt(path, revisions, before, after) + ')';
    const bool isInBoth = IsVisible(*revisions.before, path) && IsVisible(*revisions.after, path);
    if (!isInBoth || DifferingAttributes(revisions, path).empty() || Tells(changes, path))
        return {};
    return " differs and is not in the list of changes";
}

void CheckEdit(const std::string& what, const Revisions& revisions, const SceneChanges& changes,
               FirstFaults& faults) {
    const LocationSet told =
        OxOpType::ChangedLocations(revisions.before->getOp(), revisions.after->getOp());
    for (const std::string& path : PathsOfBoth(revisions)) {
        const std::string fault = FaultAt(path, revisions, told, changes);
        if (!fault.empty()) faults.add(what + std::string(": ").append(path).append(fault));
    }
}

/// Returns the number of edits that the scene did not refuse.
int CheckEdits(const OpCase& made, const OxOpType::Description& description,
               const std::string& file, FirstFaults& faults) {
    OpCaseEditor editor(made, description, file);
    int accepted = 0;
    const auto end = std::chrono::steady_clock::now() + kLongest;
    for (std::size_t i = 0; i < editor.numberOfEdits(); ++i) {
        if (std::chrono::steady_clock::now() > end) break;
        const ClientPtr before = editor.client();
        SceneChanges changes;
        const auto what = editor.commit(i, changes);
        if (!what) continue;
        faults.step(made.name + ", " + *what);
        ++accepted;
        CheckEdit(made.name + ", " + *what, {before, editor.client()}, changes, faults);
    }
    return accepted;
}

} // namespace

void CheckChanges(const Subject& subject, Verdict& verdict) {
    if (!subject.versions.empty() && !subject.hasVersion(kVersionWithChanges))
        return verdict.skip("op types of this version tell no changes");
    const OxOpType::Description* const description = DescriptionOf(subject, verdict);
    if (!description) return;
    FirstFaults faults(verdict);
    for (const OpCase& made : UsableCases(subject, verdict))
        if (CheckEdits(made, *description, subject.fileNamed("sample.obj"), faults) == 0)
            verdict.note(made.name + " accepts no edit");
}

} // namespace TellarTool
