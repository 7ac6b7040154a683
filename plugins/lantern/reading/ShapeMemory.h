#ifndef LANTERN_READING_SHAPEMEMORY_H
#define LANTERN_READING_SHAPEMEMORY_H

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "SceneTypes.h"
#include "reading/Attribute.h"

namespace lantern {

/// The content of a shape that was read, and where the shape is.
struct ShapeSource {
    Hash content; ///< of the kind and the geometry
    /// The index of the shape with the same content in the scene that was read before; the shape
    /// itself was left empty. kNone for a shape that was read.
    Index earlier = kNone;
    bool isSubdivided = false; ///< the mesh depends on the camera, too
};

/// The shapes of a scene by content, so that a later revision of the scene need not read them.
class ShapeMemory {
public:
    ShapeMemory() = default;
    /// The sources are those of all shapes of a scene, in their order.
    explicit ShapeMemory(const std::vector<ShapeSource>& sources) {
        for (std::size_t i = 0; i < sources.size(); ++i)
            if (!sources[i].isSubdivided)
                numbers.emplace(sources[i].content, static_cast<Index>(i));
    }

    /// The index of the shape of this content; kNone for an unknown one.
    Index find(const Hash& content) const {
        const auto found = numbers.find(content);
        return found == numbers.end() ? kNone : found->second;
    }

private:
    std::unordered_map<Hash, Index, HashOfHash> numbers;
};

} // namespace lantern

#endif
