#include "OpCaseEditor.h"

#include <exception>
#include <utility>

#include "ArgumentSamples.h"
#include "CookedScene.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::SceneEdit;

constexpr std::size_t kMostPaths = 100;
constexpr std::size_t kMostInputPaths = 30;
constexpr int kRandomEdits = 150;

/// Something that a probe can do at a location.
struct ProbeKind {
    const char* argument;
    const char* text;
};
constexpr ProbeKind kProbeKinds[] = {{"hide", "hiding "},
                                     {"touch", "changing "},
                                     {"add", "adding a child to "},
                                     {"fail", "an error of "}};

std::string ProbeName(std::size_t index) {
    return "probe" + std::to_string(index);
}

/// The locations of the op that the op under test has as its first input.
std::vector<std::string> PathsOfInput(const OpCase& original) {
    if (original.op().inputs.empty() || original.op().inputs.front().empty()) return {};
    const auto scene = original.open();
    SceneEdit edit = scene->edit();
    edit.setTerminal(original.op().inputs.front());
    static_cast<void>(edit.commit());
    return PathsOf(*scene->getClient(), kMostInputPaths);
}

} // namespace

OpCaseEditor::OpCaseEditor(const OpCase& original, const OxOpType::Description& description,
                           const std::string& file)
    : made(WithProbes(original, {})), description(description), file(file), random(1),
      scene(made.open()), inputPaths(PathsOfInput(original)),
      paths(PathsOf(*scene->getClient(), kMostPaths)) {
    paths.insert(paths.end(), inputPaths.begin(), inputPaths.end());
    addEditsOfInputs();
    addRandomEdits();
}

std::optional<std::string> OpCaseEditor::commit(std::size_t index, TELLAR::SceneChanges& changes) {
    SceneEdit edit = scene->edit();
    const std::string what = edits[index](edit);
    try {
        changes = edit.commit();
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return what;
}

void OpCaseEditor::addEditsOfInputs() {
    for (std::size_t probe = 0; probe < made.op().inputs.size(); ++probe) {
        for (const std::string& path : inputPaths)
            for (std::size_t kind = 0; kind < std::size(kProbeKinds); ++kind) {
                edits.emplace_back([this, probe, kind, path](SceneEdit& edit) {
                    return editProbe(edit, probe, kind, path);
                });
                edits.emplace_back([this](SceneEdit& edit) { return reset(edit); });
            }
    }
}

void OpCaseEditor::addRandomEdits() {
    for (int i = 0; i < kRandomEdits; ++i) {
        edits.emplace_back([this](SceneEdit& edit) { return editAnything(edit); });
        if (i % 2 == 0) continue; // edits come alone and in pairs
        edits.emplace_back([this](SceneEdit& edit) { return reset(edit); });
    }
}

std::string OpCaseEditor::editAnything(SceneEdit& edit) {
    const auto choice = random() % 8;
    if (choice < 4 && !description.arguments.empty()) return editArgument(edit);
    if (!hasInputs()) return reset(edit);
    if (choice == 4) return editInputs(edit);
    if (choice == 5) return bypass(edit);
    return editProbe(edit, random() % made.op().inputs.size(), random() % std::size(kProbeKinds),
                     somePath());
}

std::string OpCaseEditor::editProbe(SceneEdit& edit, std::size_t probe, std::size_t kind,
                                    const std::string& path) {
    const ProbeKind& chosen = kProbeKinds[kind];
    edit.setOpArgs(ProbeName(probe), GroupAttribute({{"label", IntAttribute(number++)},
                                                     {chosen.argument, StringAttribute(path)}},
                                                    true));
    return chosen.text + path + " in input " + std::to_string(probe);
}

std::string OpCaseEditor::editArgument(SceneEdit& edit) {
    const auto& argument = description.arguments[random() % description.arguments.size()];
    if (random() % 8 == 0) {
        edit.setOpArg(made.op().name, argument.name, {});
        return "removing the argument \"" + argument.name + '"';
    }
    edit.setOpArg(made.op().name, argument.name, valueOf(argument));
    return "another argument \"" + argument.name + '"';
}

/// Paths of the scene at hand serve as well as those that fit the summary.
Attribute OpCaseEditor::valueOf(const OxOpType::Argument& argument) {
    const Attribute now = made.op().args.getChildByName(argument.name);
    const bool isPath = StringAttribute(now).getValueView().rfind('/', 0) == 0;
    if (!isPath || random() % 3 == 0) return SensibleValue(argument, file, random);
    return StringAttribute(somePath());
}

std::string OpCaseEditor::editInputs(SceneEdit& edit) {
    std::vector<std::string> inputs = made.op().inputs;
    for (std::string& input : inputs)
        if (random() % 4 == 0) input.clear();
    if (random() % 3 == 0) std::swap(inputs.front(), inputs.back());
    edit.setOpInputs(made.op().name, inputs);
    return "other inputs";
}

/// Takes the op under test out of the scene.
std::string OpCaseEditor::bypass(SceneEdit& edit) {
    edit.setTerminal(made.op().inputs.front());
    return "taking the op away";
}

std::string OpCaseEditor::reset(SceneEdit& edit) const {
    const OpRow& op = made.op();
    edit.setOpArgs(op.name, op.args);
    edit.setOpInputs(op.name, op.inputs);
    for (std::size_t probe = 0; probe < op.inputs.size(); ++probe)
        edit.setOpArgs(ProbeName(probe), {});
    edit.setTerminal(op.name);
    return "setting everything back";
}

} // namespace TellarTool
