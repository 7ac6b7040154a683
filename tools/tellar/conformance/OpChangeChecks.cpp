// The check that an op type tells all locations which an edit can touch.
#include "OpTypeChecks.h"

#include <chrono>
#include <exception>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/ChangedLocations.h>
#include <OxTellarSDK/LocationPath.h>

#include "ArgumentSamples.h"
#include "OpTypeUnderTest.h"
#include "ProbeInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxLocationPath::LocationSet;
using TELLAR::SceneChange;
using TELLAR::SceneChanges;

constexpr int kEdits = 120;
constexpr std::chrono::seconds kLongest(10); // for the edits of one op in a large scene
constexpr std::size_t kMostPaths = 250;
// From here on the functions that tell changes are a part of the class.
constexpr unsigned int kVersionWithChanges = OxOpType::kPluginApiVersion;

/// The scene before and after an edit.
struct Revisions {
    ClientPtr before;
    ClientPtr after;
};

/// Makes random edits of one scene, one after the other.
class Editor {
public:
    Editor(const OpCase& original, const OxOpType::Description& description,
           const std::string& file, unsigned seed)
        : made(WithProbes(original, {})), description(description), file(file), random(seed),
          scene(made.open()), paths(PathsOf(*scene->getClient(), kMostPaths)) {
        for (const std::string& path : PathsOf(*original.open()->getClient(), kMostPaths))
            paths.push_back(path);
    }

    /// Commits an edit. Returns what it was, or nothing when the scene refuses it.
    std::optional<std::string> edit(SceneChanges& changes) {
        TELLAR::SceneEdit edit = scene->edit();
        const std::string what = fill(edit);
        try {
            changes = edit.commit();
        } catch (const std::exception&) {
            return std::nullopt;
        }
        return what;
    }

    ClientPtr client() const { return scene->getClient(); }

private:
    std::string fill(TELLAR::SceneEdit& edit) {
        const bool hasInputs = !made.op().inputs.empty();
        const bool hasArguments = !description.arguments.empty();
        switch (random() % 8) {
        case 0:
            if (hasInputs) return editInputs(edit);
            break;
        case 1:
            if (hasInputs) return bypass(edit);
            break;
        case 2:
        case 3:
        case 4:
            if (hasInputs) return editProbe(edit);
            break;
        default:
            break;
        }
        if (hasArguments) return editArgument(edit);
        return hasInputs ? editProbe(edit) : "nothing";
    }

    std::string editArgument(TELLAR::SceneEdit& edit) {
        const auto& argument = description.arguments[random() % description.arguments.size()];
        const std::string& op = made.op().name;
        switch (random() % 8) {
        case 0:
            edit.setOpArg(op, argument.name, {});
            return "removing the argument \"" + argument.name + '"';
        case 1:
            edit.setOpArgs(op, made.op().args);
            return "setting all arguments back";
        default:
            edit.setOpArg(op, argument.name, valueOf(argument));
            return "another argument \"" + argument.name + '"';
        }
    }

    /// Paths of the scene at hand serve as well as those that fit the summary.
    Attribute valueOf(const OxOpType::Argument& argument) {
        const Attribute now = made.op().args.getChildByName(argument.name);
        const bool isPath = StringAttribute(now).getValueView().rfind('/', 0) == 0;
        if (!isPath || random() % 3 == 0) return SensibleValue(argument, file, random);
        return StringAttribute(somePath());
    }

    std::string editProbe(TELLAR::SceneEdit& edit) {
        const std::string probe = "probe" + std::to_string(random() % made.op().inputs.size());
        static const char* const kKinds[][2] = {{"hide", "hiding "},
                                                {"touch", "changing "},
                                                {"add", "adding a child to "},
                                                {"fail", "an error of "}};
        const auto& [kind, what] = kKinds[random() % 4];
        const std::string path = somePath();
        edit.setOpArgs(
            probe, GroupAttribute(
                       {{"label", IntAttribute(number++)}, {kind, StringAttribute(path)}}, true));
        return what + path + " in an input";
    }

    std::string editInputs(TELLAR::SceneEdit& edit) {
        std::vector<std::string> inputs = made.op().inputs;
        for (std::string& input : inputs)
            if (random() % 4 == 0) input.clear();
        if (random() % 3 == 0) std::swap(inputs.front(), inputs.back());
        edit.setOpInputs(made.op().name, inputs);
        return "other inputs";
    }

    /// Takes the op out of the scene, or puts it back.
    std::string bypass(TELLAR::SceneEdit& edit) {
        isBypassed = !isBypassed;
        edit.setTerminal(isBypassed ? made.op().inputs.front() : made.op().name);
        return isBypassed ? "taking the op away" : "putting the op back";
    }

    std::string somePath() { return paths[random() % paths.size()]; }

    OpCase made;
    const OxOpType::Description& description;
    const std::string file;
    std::mt19937 random;
    std::shared_ptr<TELLAR::Scene> scene;
    std::vector<std::string> paths;
    std::int32_t number = 1;
    bool isBypassed = false;
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

bool HaveOtherAttributes(const Revisions& revisions, const std::string& path) {
    return revisions.before->cookLocation(path).getAttrs() !=
           revisions.after->cookLocation(path).getAttrs();
}

void CheckEdit(const std::string& what, const Revisions& revisions, const SceneChanges& changes,
               FirstFaults& faults) {
    const LocationSet set =
        OxOpType::ChangedLocations(revisions.before->getOp(), revisions.after->getOp());
    for (const std::string& path : PathsOfBoth(revisions)) {
        const Answer before = Cook(*revisions.before, path);
        const Answer after = Cook(*revisions.after, path);
        if ((before.isError() && after.isError()) || before == after) continue;
        if (!Reaches(set, path))
            faults.add(what + ": " + path + " differs and is not told (before: " + before.text() +
                       "; after: " + after.text() + ')');
        else if (IsVisible(*revisions.before, path) && IsVisible(*revisions.after, path) &&
                 HaveOtherAttributes(revisions, path) && !Tells(changes, path))
            faults.add(what + ": " + path + " differs and is not in the list of changes");
    }
}

/// Returns the number of edits that the scene did not refuse.
int CheckEdits(const OpCase& made, const OxOpType::Description& description,
               const std::string& file, FirstFaults& faults) {
    Editor editor(made, description, file, 1);
    int accepted = 0;
    const auto end = std::chrono::steady_clock::now() + kLongest;
    for (int i = 0; i < kEdits && std::chrono::steady_clock::now() < end; ++i) {
        const ClientPtr before = editor.client();
        SceneChanges changes;
        const auto what = editor.edit(changes);
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
