#ifndef TELLAR_TOOL_OPCASEEDITOR_H
#define TELLAR_TOOL_OPCASEEDITOR_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/OpType.h>

#include "OpCase.h"

namespace TellarTool {

/// Edits a scene in which the op under test has its inputs behind probes: first one location of an
/// input after the other, then arguments and inputs at random, the same each time.
class OpCaseEditor {
public:
    /// `file` is for arguments that name a file.
    OpCaseEditor(const OpCase& original, const OxOpType::Description& description,
                 const std::string& file);

    std::size_t numberOfEdits() const { return edits.size(); }
    /// Commits an edit and assigns what it changed. Returns what it was; nothing when the scene
    /// refuses it.
    std::optional<std::string> commit(std::size_t index, TELLAR::SceneChanges& changes);

    /// The client of the newest revision.
    ClientPtr client() const { return scene->getClient(); }

private:
    /// Fills an edit, and returns what it is.
    using Fill = std::function<std::string(TELLAR::SceneEdit&)>;

    void addEditsOfInputs();
    void addRandomEdits();
    std::string editAnything(TELLAR::SceneEdit& edit);
    std::string editProbe(TELLAR::SceneEdit& edit, std::size_t probe, std::size_t kind,
                          const std::string& path);
    std::string editArgument(TELLAR::SceneEdit& edit);
    std::string editInputs(TELLAR::SceneEdit& edit);
    std::string bypass(TELLAR::SceneEdit& edit);
    std::string reset(TELLAR::SceneEdit& edit) const;

    OxAttribute::Attribute valueOf(const OxOpType::Argument& argument);
    bool hasInputs() const { return !made.op().inputs.empty(); }
    std::string somePath() { return paths[random() % paths.size()]; }

    const OpCase made;
    const OxOpType::Description& description;
    const std::string file;
    std::mt19937 random;
    std::shared_ptr<TELLAR::Scene> scene;
    std::vector<std::string> inputPaths; // locations of the first input
    std::vector<std::string> paths;      // these and those of the op under test
    std::vector<Fill> edits;
    std::int32_t number = 1; // of the next probe edit
};

} // namespace TellarTool

#endif
