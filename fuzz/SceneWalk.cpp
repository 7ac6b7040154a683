#include "SceneWalk.h"

#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Check.h"

using namespace OxAttribute;

namespace {

using TellarSceneImport::Scene;
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

} // namespace

void WalkScene(const Scene& scene) {
    int left = 200;
    UseNode(scene, scene.rootName(), left);
    for (const std::string_view name : scene.materialNames().getNearestSample(0.0f))
        UseValue(scene.findMaterial(name)->network);
}
