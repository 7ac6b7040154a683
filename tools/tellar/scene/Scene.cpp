#include "Scene.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "LocationPaths.h"
#include "OpPlaces.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;
using Children = std::vector<GroupAttribute::Child>;

/// The message with the name of standard input in place of the path.
std::string WithoutPath(std::string message, const std::string& path) {
    for (std::size_t at = message.find(path); at != std::string::npos; at = message.find(path))
        message.replace(at, path.size(), kInputName);
    return message;
}

/// A description that does nothing but import a file is what opening that file gives.
SceneKind KindOf(const GroupAttribute& description) {
    const StringAttribute type(
        GroupAttribute(description.getChildByIndex(0)).getChildByName("opType"));
    const bool isImport =
        description.getNumberOfChildren() == 1 && type.getValueView() == "SceneImport";
    return isImport ? SceneKind::SceneFile : SceneKind::AttributeStream;
}

/// An op tree that grows at its end.
class OpList {
public:
    explicit OpList(const GroupAttribute& description) {
        for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
            ops.emplace_back(description.getChildName(i), description.getChildByIndex(i));
    }

    const std::string& lastName() const { return ops.back().first; }

    /// The name gets a suffix if it is taken.
    void add(std::string name, const std::string& opType, const GroupAttribute& args,
             const std::vector<std::string>& inputs) {
        while (std::any_of(ops.begin(), ops.end(),
                           [&name](const auto& op) { return op.first == name; }))
            name += '_';
        Children op = {{"opType", StringAttribute(opType)}, {"opArgs", args}};
        if (!inputs.empty()) op.emplace_back("opInputs", StringAttribute(inputs, 1));
        ops.emplace_back(std::move(name), GroupAttribute(op, true));
    }

    GroupAttribute getDescription() const { return GroupAttribute(ops, true); }

private:
    Children ops;
};

} // namespace

Scene::Scene(const std::string& path) : path(path) {
    if (path == kStandardInput)
        readStandardInput();
    else
        take(TELLAR::ReadSceneDescription(path));
}

Scene::Scene(std::shared_ptr<TELLAR::Scene> scene, const std::string& name)
    : path(name), kind(KindOf(scene->getDescription())), description(scene->getDescription()) {
    opened->scene = std::move(scene);
}

/// Relative files count from the working directory.
void Scene::readStandardInput() {
    path = kInputName;
    input = std::make_shared<const StandardInput>();
    try {
        FileStream file(input->getPath(), true);
        take(TELLAR::ReadSceneDescription(file, kInputName));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(WithoutPath(error.what(), input->getPath()));
    }
}

void Scene::take(const TELLAR::SceneDescription& read) {
    kind = read.kind;
    description = read.ops;
    comments = read.text.comments;
    places = read.text.places;
    RememberOps(places);
}

std::vector<OxOpType::Warning> Scene::check(std::uint64_t mostLocations) const {
    return OxOpType::CheckOps(open().getClient()->getOp(), mostLocations);
}

// Errors call the ops by these names.

Scene Scene::withRenderSettings(const GroupAttribute& settings) const {
    OpList ops(description);
    ops.add("command line", "RenderSettings",
            GroupAttribute(Children{{"settings", settings}}, true), {ops.lastName()});
    return withDescription(ops.getDescription());
}

Scene Scene::withLocation(const std::string& location, const GroupAttribute& content) const {
    OpList ops(description);
    const std::string scene = ops.lastName();
    GroupBuilder args;
    args.set("location", StringAttribute(location));
    args.update(content);
    ops.add("command line location", "StaticScene", args.build(), {});
    ops.add("command line", "Merge", GroupAttribute(true), {scene, ops.lastName()});
    return withDescription(ops.getDescription());
}

Scene Scene::withDescription(const GroupAttribute& changedDescription) const {
    Scene changed = *this;
    changed.description = changedDescription;
    changed.opened = std::make_shared<Opened>();
    changed.opened->origin = opened;
    return changed;
}

TELLAR::Scene& Scene::open() const {
    if (!opened->scene) opened->scene = TELLAR::Scene::FromDescription(description, places);
    return *opened->scene;
}

std::shared_ptr<TellarRuntime::Client> Scene::getClient() const {
    return open().getClient();
}

GeometryProducer::Ptr Scene::at(const std::string& location) const {
    return checked(TELLAR::CreateSyncGeometryProducer(open().getClient(), location), location);
}

GeometryProducer::Ptr Scene::threadAwareAt(const std::string& location) const {
    const auto source = TELLAR::OpTreeSource::createFromGroupAttribute(description, places);
    return checked(TELLAR::CreateThreadAwareGeometryProducer(source, location), location);
}

GeometryProducer::Ptr Scene::cookedAt(const std::string& location) const {
    return checked(TELLAR::CreateAsyncGeometryProducer(open().getClient(), location), location);
}

GeometryProducer::Ptr Scene::checked(GeometryProducer::Ptr producer,
                                     const std::string& location) const {
    if (producer) return producer;
    throw std::runtime_error(path + ": there is no location \"" + location + '"' +
                             HintAboutLocation(open().getRoot(), location));
}

} // namespace TellarTool
