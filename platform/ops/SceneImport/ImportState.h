#ifndef SCENEIMPORT_IMPORTSTATE_H
#define SCENEIMPORT_IMPORTSTATE_H

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

#include "ReadOptions.h"
#include "SceneFile.h"
#include "facts/SceneFacts.h"
#include "model/Motion.h"
#include "model/Scene.h"

namespace TellarSceneImport {

/// The arguments of a SceneImport.
struct Settings {
    std::string file; ///< absolute
    std::string location;
    std::string materialLocation;
    bool listFiles = false;
    ReadOptions options;
    FrameClock clock;
};

/// The arguments and the version of the file that the Op presents. The version is chosen by the
/// first cook that needs the file, and again by a fresh cook. Only the version and its facts
/// change, each under its lock.
class ImportState : public OxOpType::State {
public:
    explicit ImportState(Settings settings);

    /// The caller keeps the file alive, because the cook of another thread may replace it.
    std::shared_ptr<const SceneFile> file(bool lookAgain) const;
    /// Throws TellarError with the name of the file if it cannot be read.
    const Scene& sceneOf(const SceneFile& file) const;
    /// The facts of the present version of the file, which they keep in memory. Throws like
    /// sceneOf.
    std::shared_ptr<const SceneFacts> facts() const;

    const Settings settings;

private:
    mutable std::mutex lock;
    mutable std::shared_ptr<const SceneFile> opened;
    mutable std::mutex factsLock;
    mutable std::shared_ptr<const SceneFile> factsFile;
    mutable std::shared_ptr<const SceneFacts> knownFacts;
};

/// Throws std::runtime_error if the materials would hide the root node of the scene.
void CheckNames(const Settings& settings, const Scene& scene);

/// Whether the scene or the materials are at or below the location.
bool IsAncestor(const Settings& settings, const std::string& path);
/// The children of an ancestor.
OxAttribute::StringAttribute NamesOfAncestor(const Settings& settings, const std::string& path);
/// The children of the location of the scene: the root node, and the one that leads to materials
/// below it.
OxAttribute::StringAttribute NamesOfLocation(const Settings& settings, const Scene& scene);

} // namespace TellarSceneImport

#endif
