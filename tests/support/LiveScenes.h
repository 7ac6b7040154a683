#ifndef TELLAR_TEST_LIVESCENES_H
#define TELLAR_TEST_LIVESCENES_H

#include <memory>

#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "SceneBuilders.h"
#include "TestOps.h"

/// A scene for tests of live edits: /root > world > thing. The op "scene" presents the locations,
/// with a unique "tag" at /root; the op "edit" sets the attribute "edit" of the thing.
namespace TellarTest {

inline OxAttribute::Attribute Triple(double x, double y, double z) {
    return OxAttribute::DoubleAttribute({x, y, z}, 3);
}

inline OxAttribute::GroupAttribute LiveLocations() {
    return Location({{"tag", Text(UniqueTag())}},
                    {{"world", Location({}, {{"thing", Location({{"type", Text("group")}})}})}});
}

inline OxAttribute::GroupAttribute LiveDescription() {
    return Group({{"scene", OpEntry("StaticScene", LiveLocations())},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root/world/thing"})},
                                          {"set", Group({{"edit", Int(0)}})}}),
                                   {"scene"})}});
}

inline std::shared_ptr<TELLAR::Scene> LiveScene() {
    return TELLAR::Scene::FromDescription(LiveDescription());
}

/// Commits another value of the attribute "edit".
inline TELLAR::SceneChanges SetEdit(TELLAR::Scene& scene, int value) {
    TELLAR::SceneEdit edit = scene.edit();
    edit.setOpArg("edit", "set.edit", Int(value));
    return edit.commit();
}

/// The attribute "edit" of the thing; -1 when it does not exist.
inline int EditOf(const TELLAR::GeometryProducer::Ptr& root) {
    const auto world = root->getChildByName("world", false);
    const auto thing = world->getChildByName("thing", false);
    return thing ? IntOf(thing->getAttribute("edit")) : -1;
}

} // namespace TellarTest

#endif
