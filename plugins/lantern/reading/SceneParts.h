#ifndef LANTERN_READING_SCENEPARTS_H
#define LANTERN_READING_SCENEPARTS_H

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "SceneData.h"
#include "reading/InstanceMatrices.h"
#include "reading/ReadLight.h"
#include "reading/Shapes.h"
#include "reading/Surfaces.h"

namespace lantern {

/// A list that grows without moving its elements, and frees memory while it is drained.
template <typename Value>
class Pieces {
public:
    void add(const Value& value) {
        if (pieces.empty() || pieces.back().size() == pieces.back().capacity()) addPiece();
        pieces.back().push_back(value);
        ++count;
    }

    std::size_t size() const { return count; }

    template <typename Use>
    void drain(Use use) {
        for (std::vector<Value>& piece : pieces) {
            for (const Value& value : piece)
                use(value);
            std::vector<Value>().swap(piece);
        }
        pieces.clear();
        count = 0;
    }

private:
    void addPiece() {
        constexpr std::size_t kFirst = 16;
        constexpr std::size_t kLargest = 8192;
        const std::size_t next = pieces.empty() ? kFirst : pieces.back().capacity() * 2;
        pieces.emplace_back().reserve(std::min(next, kLargest));
    }

    std::vector<std::vector<Value>> pieces;
    std::size_t count = 0;
};

/// The instances and lights of one consecutive part of the walk, in scene order. For one thread at
/// a time.
class ScenePart {
public:
    void addInstance(Index shape, Index surface, const InstanceMatrices& matrices);
    /// Adds the path of the instance that was added last.
    void addName(std::string location) { locations.push_back(std::move(location)); }
    void addLight(LightDraft light) { lights.push_back(std::move(light)); }

private:
    friend class SceneParts;

    Pieces<M44f> transforms;
    Pieces<Instance> instances;         ///< firstTransform is an index into this part's transforms
    std::vector<std::string> locations; ///< one path per instance; empty if no layer needs paths
    std::vector<LightDraft> lights;
};

/// The parts of a scene in scene order. Several threads may insert parts at once.
class SceneParts {
public:
    using Part = std::list<ScenePart>::iterator;

    Part first() { return parts.begin(); }
    /// Inserts a new part right after this one.
    Part insertAfter(Part part);

    /// Joins the parts to a scene. Shapes, surfaces, materials and textures are numbered in the
    /// order of their first use; unused ones are left out, except for the first material. Assigns
    /// the sources of the scene's shapes.
    SceneData join(std::deque<Shapes::Found> shapes, Surfaces::All surfaces,
                   std::vector<ShapeSource>& sources);

private:
    /// Reserves memory for all instances. Throws if there are too many.
    void reserveMemory(SceneData& scene) const;

    std::mutex lock; // guards the list, not the parts
    std::list<ScenePart> parts{1};
};

} // namespace lantern

#endif
