#include "SceneWalk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Check.h"
#include "facts/SceneFacts.h"
#include "facts/SceneInstances.h"

using namespace OxAttribute;

namespace {

using TellarSceneImport::FrameClock;
using TellarSceneImport::Scene;
using TellarSceneImport::SceneFacts;
using TellarSceneImport::SceneNode;

void UseValue(const Attribute& value) {
    if (value.isValid()) Check(!value.getXML().empty(), "every value has a text");
}

void UseMotion(const TellarSceneImport::Motion& motion) {
    GroupBuilder attrs;
    motion.apply({}, attrs);
    UseValue(attrs.build());
}

void UseNode(const Scene& scene, const std::string& path, int& left) {
    const SceneNode* const node = scene.findNode(path);
    Check(node != nullptr, "a name that is listed is found");
    UseValue(node->attrs);
    if (node->motion) UseMotion(*node->motion);
    if (node->material >= 0) UseValue(scene.material(node->material).network);
    for (const std::string_view name : node->childNames.getNearestSample(0.0f))
        if (left-- > 0) UseNode(scene, path + "/" + std::string(name), left);
}

void UseFacts(const std::shared_ptr<const SceneFacts>& facts) {
    const auto count = static_cast<std::int64_t>(facts->getScene().allNodes().size());
    Check(facts->describe(0).locations == count, "the root node has all nodes at and below it");
    const auto instances = FindInstances(facts, 0);
    if (!instances) return;
    Check(instances->count() < count, "instances are nodes below the root");
    for (std::int64_t i = 0; i < std::min<std::int64_t>(instances->count(), 50); ++i) {
        double matrix[16];
        std::int64_t prototype = -1;
        instances->read(i, i + 1, &prototype, matrix);
        const std::string root = facts->getScene().rootName() + '/';
        const auto& prototypes = instances->prototypes();
        const auto index = static_cast<std::size_t>(prototype);
        Check(index < prototypes.size(), "an instance has a prototype");
        Check(facts->getScene().findNode(root + prototypes[index]) != nullptr, "it is found");
        Check(facts->getScene().findNode(root + instances->path(i)) != nullptr,
              "an instance is found at its path");
    }
}

} // namespace

void WalkScene(const Scene& scene) {
    const std::shared_ptr<const Scene> borrowed(std::shared_ptr<const Scene>(), &scene);
    UseFacts(std::make_shared<SceneFacts>(borrowed, FrameClock(), "/root/materials"));
    int left = 200;
    UseNode(scene, scene.rootName(), left);
    for (const std::string_view name : scene.materialNames().getNearestSample(0.0f))
        UseValue(scene.findMaterial(name)->network);
}
