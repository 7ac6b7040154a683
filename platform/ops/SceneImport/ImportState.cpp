#include "ImportState.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/TellarError.h>

#include "../ArgReader.h"
#include "../ChildNames.h"

namespace TellarSceneImport {

using OxAttribute::StringAttribute;
using OxLocationPath::IsSelfOrBelow;

namespace {

// The child of `path` that leads to the materials; empty if they are not below `path`.
std::string_view TowardsMaterials(const Settings& settings, const std::string& path) {
    if (path == settings.materialLocation || !IsSelfOrBelow(settings.materialLocation, path))
        return {};
    return TellarOps::NameTowards(settings.materialLocation, path);
}

} // namespace

ImportState::ImportState(Settings settings) : settings(std::move(settings)) {}

std::shared_ptr<const SceneFile> ImportState::file(bool lookAgain) const {
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (opened && !lookAgain) return opened;
    }
    auto present = OpenSceneFile(settings.file, settings.options);
    const std::lock_guard<std::mutex> guard(lock);
    if (!opened || lookAgain) opened = std::move(present);
    return opened;
}

const Scene& ImportState::sceneOf(const SceneFile& file) const {
    try {
        return file.scene();
    } catch (const std::runtime_error& error) {
        throw TellarError::OfFile(settings.file, "Cannot read scene file \"" + settings.file +
                                                     "\": " + error.what());
    }
}

std::shared_ptr<const SceneFacts> ImportState::facts() const {
    const std::shared_ptr<const SceneFile> present = file(false);
    const Scene& scene = sceneOf(*present);
    const std::lock_guard<std::mutex> guard(factsLock);
    if (factsFile == present) return knownFacts;
    const std::shared_ptr<const Scene> kept(present, &scene);
    knownFacts = std::make_shared<SceneFacts>(kept, settings.clock, settings.materialLocation);
    factsFile = present;
    return knownFacts;
}

void CheckNames(const Settings& settings, const Scene& scene) {
    if (TowardsMaterials(settings, settings.location) == scene.rootName())
        TellarOps::ThrowArgumentError("materialLocation",
                                      "hides the scene's root node \"" + scene.rootName() + '"');
}

bool IsAncestor(const Settings& settings, const std::string& path) {
    return path.size() > 1 &&
           (IsSelfOrBelow(settings.location, path) || !TowardsMaterials(settings, path).empty());
}

StringAttribute NamesOfAncestor(const Settings& settings, const std::string& path) {
    std::vector<std::string_view> names;
    if (IsSelfOrBelow(settings.location, path))
        names.push_back(TellarOps::NameTowards(settings.location, path));
    const std::string_view materials = TowardsMaterials(settings, path);
    if (!materials.empty() && (names.empty() || names.front() != materials))
        names.push_back(materials);
    return TellarOps::MakeNames(names);
}

StringAttribute NamesOfLocation(const Settings& settings, const Scene& scene) {
    std::vector<std::string_view> names = {scene.rootName()};
    if (const auto materials = TowardsMaterials(settings, settings.location); !materials.empty())
        names.push_back(materials);
    return TellarOps::MakeNames(names);
}

} // namespace TellarSceneImport
