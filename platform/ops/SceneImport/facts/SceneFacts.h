#ifndef SCENEIMPORT_SCENEFACTS_H
#define SCENEIMPORT_SCENEFACTS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/SubtreeFacts.h>

#include "model/Motion.h"
#include "model/Scene.h"

namespace TellarSceneImport {

/// The facts of each node of a scene with everything below it, found from the leaves up at
/// construction. Immutable.
class SceneFacts {
public:
    /// Times of samples follow from the clock, and the materials of shapes from their location.
    SceneFacts(std::shared_ptr<const Scene> scene, const FrameClock& clock,
               const std::string& materialLocation);
    SceneFacts(const SceneFacts&) = delete;
    SceneFacts& operator=(const SceneFacts&) = delete;

    OxOpType::SubtreeFacts describe(std::uint32_t node) const;
    /// The "xform" of a node, with its motion; invalid if there is none.
    OxAttribute::GroupAttribute xformOf(std::uint32_t node) const;

    /// Equal for nodes of this scene that differ in their own "xform" alone, with everything below
    /// them.
    const OxAttribute::Hash& contentOf(std::uint32_t node) const { return all[node].content; }

    /// The children of a node, in order.
    const std::uint32_t* childrenBegin(std::uint32_t node) const {
        return children.data() + firstChild[node];
    }
    const std::uint32_t* childrenEnd(std::uint32_t node) const {
        return children.data() + firstChild[node + 1];
    }
    const Scene& getScene() const { return *scene; }

private:
    struct NodeFacts {
        OxAttribute::Hash content;
        OxXFormUtil::Bounds bound;
        std::int64_t locations = 1;
        std::uint32_t types = 0;
        bool isBoundKnown = false;
        bool hasMotion = false; // of its shape, or of anything below
    };

    void listChildren();
    void addOwnFacts(std::uint32_t node);
    void addToParent(std::uint32_t node);

    const std::shared_ptr<const Scene> scene;
    const FrameClock clock;
    const OxAttribute::Hash materials; // of their location
    std::vector<NodeFacts> all;
    std::vector<std::uint32_t> children; // of node 0, of node 1 and so on
    std::vector<std::uint32_t> firstChild;
};

} // namespace TellarSceneImport

#endif
