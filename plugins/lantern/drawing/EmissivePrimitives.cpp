#include "drawing/EmissivePrimitives.h"

#include <algorithm>

namespace lantern {
namespace {

bool IsEmissive(const Surface& surface, const std::vector<Material>& materials) {
    return materials[surface.material].isEmissive() ||
           std::any_of(surface.faceMaterials.begin(), surface.faceMaterials.end(),
                       [&](Index i) { return i != kNone && materials[i].isEmissive(); });
}

} // namespace

EmissivePrimitives::EmissivePrimitives(const SceneData& scene, const Materials& materials,
                                       const Kind& kind) {
    std::vector<bool> isEmissive; // one flag per surface
    for (const Surface& surface : scene.surfaces)
        isEmissive.push_back(IsEmissive(surface, scene.materials));
    if (std::find(isEmissive.begin(), isEmissive.end(), true) == isEmissive.end()) return;
    firstOfInstance.assign(scene.instances.size(), kNone);
    for (Index i = 0; i < scene.instances.size(); ++i) {
        const std::size_t count = kind.count(scene.shapes[scene.instances[i].shape]);
        if (count == 0 || !isEmissive[scene.instances[i].surface]) continue;
        if (powerOfEach.size() + count > kind.most) continue;
        firstOfInstance[i] = static_cast<Index>(powerOfEach.size());
        ranges.push_back({i, firstOfInstance[i]});
        RayHit hit;
        hit.instance = i;
        for (hit.primitive = 0; hit.primitive < count; ++hit.primitive) {
            const bool shines = materials.materialAt(i, hit.primitive).isEmissive();
            powerOfEach.push_back(shines ? kind.power(hit) : 0);
        }
    }
}

Index EmissivePrimitives::indexOf(const RayHit& hit) const {
    if (hit.instance >= firstOfInstance.size() || firstOfInstance[hit.instance] == kNone)
        return kNone;
    return firstOfInstance[hit.instance] + hit.primitive;
}

RayHit EmissivePrimitives::hitOf(Index number) const {
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), number,
                         [](Index value, const Range& range) { return value < range.first; });
    const Range& range = *(after - 1);
    RayHit hit;
    hit.instance = range.instance;
    hit.primitive = number - range.first;
    return hit;
}

} // namespace lantern
