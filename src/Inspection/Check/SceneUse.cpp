#include "SceneUse.h"

#include <algorithm>
#include <new>
#include <utility>

#include <OxTellarProducers/RenderResolution.h>

#include "Values.h"
#include "text/SimilarNames.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr const char* kCameraName = "renderSettings.cameraName";

FoundProblem ProblemAt(const std::string& location, std::string problem) {
    return {location, {}, {}, {}, std::move(problem)};
}

} // namespace

SceneUse::Target SceneUse::noteAssignment(const std::string& path) {
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto known = assigned.find(path);
        if (known != assigned.end()) return known->second;
    }
    const Target target = find(path);
    const std::lock_guard<std::mutex> guard(lock);
    assigned.emplace(path, target);
    return target;
}

SceneUse::Target SceneUse::find(const std::string& path) const {
    try {
        const TellarRuntime::LocationData data = client->cookLocation(path);
        if (!data.doesLocationExist()) return Target::Nothing;
        const bool hasMaterial = GroupAttribute(ChildOf(data.getAttrs(), "material")).isValid();
        return hasMaterial ? Target::Material : Target::OtherLocation;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return Target::Material;
    }
}

/// False for a location whose cook fails, which is reported as that.
bool SceneUse::canBeCooked(const std::string& path) const {
    try {
        client->cookLocation(path);
        return true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return false;
    }
}

void SceneUse::noteUsedMaterial(const Hash& material) {
    const std::lock_guard<std::mutex> guard(lock);
    usedMaterials.insert(material);
}

void SceneUse::noteMaterial(const VisitedLocation& visited, const Hash& material) {
    Offer offer{visited.place, visited.getPath(), material};
    const std::lock_guard<std::mutex> guard(lock);
    materials.push_back(std::move(offer));
}

void SceneUse::noteCamera(const VisitedLocation& visited) {
    Offer offer{visited.place, visited.getPath(), {}};
    const std::lock_guard<std::mutex> guard(lock);
    cameras.push_back(std::move(offer));
}

void SceneUse::report(const GeometryProducer::Ptr& root, Findings& findings) const {
    reportMaterials(findings);
    reportCameras(root, findings);
}

void SceneUse::reportMaterials(Findings& findings) const {
    for (const Offer& material : materials) {
        if (assigned.count(material.path) > 0 || usedMaterials.count(material.material) > 0)
            continue;
        findings.add(Rule::MaterialUnused, material.place, {},
                     [&] { return ProblemAt(material.path, "no location has this material"); });
    }
}

void SceneUse::reportCameras(const GeometryProducer::Ptr& root, Findings& findings) const {
    const std::string chosen = GetCameraPath(root);
    const bool isThere = std::any_of(cameras.begin(), cameras.end(),
                                     [&](const Offer& one) { return one.path == chosen; });
    if (!isThere) {
        // Without the setting, programs choose a camera in their own ways.
        if (!StringAttribute(root->getAttribute(kCameraName)).isValid() || !canBeCooked(chosen))
            return;
        std::vector<std::string> paths;
        for (const Offer& camera : cameras)
            paths.push_back(camera.path);
        std::sort(paths.begin(), paths.end());
        return findings.add(Rule::CameraMissing, {}, {}, [&] {
            return FoundProblem{root->getFullName(),
                                kCameraName,
                                {},
                                {},
                                "there is no camera " + Quoted(chosen) +
                                    TellarInternal::DidYouMean(paths, chosen)};
        });
    }
    for (const Offer& camera : cameras)
        if (camera.path != chosen)
            findings.add(Rule::CameraUnused, camera.place, {}, [&] {
                return ProblemAt(camera.path, "the render settings name another camera");
            });
}

} // namespace TELLAR
