#include <OxTellarProducers/Scene.h>

#include <utility>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/TellarError.h>

#include "SceneRevisions.h"

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;

namespace TELLAR {

namespace {

constexpr const char* kRootPath = "/root";

} // namespace

Scene::Scene(std::shared_ptr<SceneRevisions> revisions) : revisions(std::move(revisions)) {}

Scene::~Scene() = default;

std::shared_ptr<Scene> Scene::Open(const std::string& path) {
    const SceneDescription description = ReadSceneDescription(path);
    std::shared_ptr<Scene> scene = FromDescription(description.ops);
    // SceneImport reads the file when it cooks the location below the root. After that the file
    // need not be there any more, and a bad one was refused.
    if (description.kind == SceneKind::SceneFile) scene->getRoot()->getFirstChild(false);
    return scene;
}

std::shared_ptr<Scene> Scene::FromDescription(const GroupAttribute& description) {
    const std::string defect = OpTreeDefect(description);
    if (!defect.empty())
        throw TellarError(kOxErrorBadCall, "The scene cannot be opened: " + defect);
    return std::shared_ptr<Scene>(
        new Scene(std::make_shared<SceneRevisions>(MakeFirstRevision(description))));
}

GeometryProducer::Ptr Scene::getRoot() const {
    return CreateSyncGeometryProducer(getClient(), kRootPath);
}

std::shared_ptr<TellarRuntime::Client> Scene::getClient() const {
    return revisions->getNewest()->client;
}

Hash Scene::getIdentity() const {
    return getClient()->getOp()->getIdentity();
}

std::uint64_t Scene::getRevision() const {
    return revisions->getNewest()->number;
}

} // namespace TELLAR
