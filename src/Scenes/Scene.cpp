#include <OxTellarProducers/Scene.h>

#include <sstream>
#include <utility>
#include <vector>

#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/TellarError.h>

#include "OpDrafts.h"
#include "RuntimeRecords.h"
#include "SceneRevisions.h"
#include "files/RegularFile.h"

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

GroupAttribute Describe(const SceneOp& op) {
    std::vector<GroupAttribute::Child> parts{{"opType", StringAttribute(op.op->getType())},
                                             {"opArgs", op.op->getArgs()}};
    if (!op.inputs.empty()) parts.emplace_back("opInputs", StringAttribute(op.inputs, 1));
    return GroupAttribute(parts, true);
}

/// The description of a model with the state of its file as the version, so that a scene which
/// shows an older state shares nothing with it.
GroupAttribute WithVersion(const GroupAttribute& description, const std::string& path) {
    std::string ignored; // the cook tells why the file cannot be read
    const auto state = RegularFile::StateOf(path, ignored);
    if (!state) return description;
    std::ostringstream version;
    version << state->bytes << ' ' << state->modifiedSeconds << '.' << state->modifiedNanoseconds
            << ' ' << state->file;
    OxAttribute::GroupBuilder ops;
    ops.update(description);
    ops.set("scene.opArgs.version", StringAttribute(version.str()));
    return ops.build();
}

} // namespace

Scene::Scene(std::shared_ptr<SceneRevisions> revisions) : revisions(std::move(revisions)) {}

Scene::~Scene() = default;

std::shared_ptr<Scene> Scene::Open(const std::string& path) {
    const SceneDescription description = ReadSceneDescription(path);
    const bool isModel = description.kind == SceneKind::SceneFile;
    std::shared_ptr<Scene> scene = FromDescription(
        isModel ? WithVersion(description.ops, path) : description.ops, description.text.places);
    // SceneImport reads the file when it cooks the location below the root, and CapturedScene when
    // it cooks the root. After that the file need not be there any more, and a bad one was refused.
    if (isModel) scene->getRoot()->getFirstChild(false);
    if (description.kind == SceneKind::Capture) scene->getRoot();
    return scene;
}

std::shared_ptr<Scene> Scene::FromDescription(const GroupAttribute& description) {
    return FromDescription(description, OpPlaces());
}

std::shared_ptr<Scene> Scene::FromDescription(const GroupAttribute& description,
                                              const OpPlaces& places) {
    const std::string defect = OpTreeDefect(description);
    if (!defect.empty())
        throw TellarError(kOxErrorBadCall, "The scene cannot be opened: " + defect);
    std::shared_ptr<const SceneRevision> first = OpDrafts(description, places).build();
    RecordUsage(*first->client->getRuntime());
    return std::shared_ptr<Scene>(new Scene(std::make_shared<SceneRevisions>(std::move(first))));
}

GeometryProducer::Ptr Scene::getRoot() const {
    return RootOf(*revisions->getNewest());
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

GroupAttribute Scene::getDescription() const {
    const auto revision = revisions->getNewest();
    std::vector<GroupAttribute::Child> ops;
    GroupAttribute terminal;
    for (const auto& op : revision->ops)
        if (op->name == revision->terminal)
            terminal = Describe(*op);
        else
            ops.emplace_back(op->name, Describe(*op));
    ops.emplace_back(revision->terminal, terminal);
    return GroupAttribute(ops, true);
}

SceneEdit Scene::edit() {
    return SceneEdit(revisions);
}

std::shared_ptr<SceneSubscription> Scene::subscribe() {
    return std::shared_ptr<SceneSubscription>(new SceneSubscription(revisions));
}

} // namespace TELLAR
