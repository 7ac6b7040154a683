#include "reading/SceneParts.h"

#include <map>
#include <string>

#include "Report.h"

namespace lantern {

namespace {

/// Maps old numbers to new ones, which are assigned in the order of first use.
class Numbers {
public:
    explicit Numbers(std::size_t count) : known(count, kNone) {}

    /// Calls isNew() before a new number is assigned.
    template <typename IsNew>
    Index of(Index old, IsNew isNew) {
        if (known[old] == kNone) {
            isNew();
            known[old] = used++;
        }
        return known[old];
    }

private:
    std::vector<Index> known;
    Index used = 0;
};

/// Moves shapes, surfaces, materials and textures into the scene when they are first used.
class Joiner {
public:
    Joiner(SceneData& scene, std::deque<Shapes::Found> shapes, Surfaces::All surfaces,
           std::vector<ShapeSource>& sources)
        : scene(scene), sources(sources), shapes(std::move(shapes)), surfaces(std::move(surfaces)),
          shapeNumbers(this->shapes.size()), surfaceNumbers(this->surfaces.surfaces.size()),
          materialNumbers(this->surfaces.materials.size()) {
        materialOf(0);
    }

    Index shapeOf(Index old) {
        return shapeNumbers.of(old, [&] {
            scene.shapes.push_back(std::move(shapes[old].shape));
            sources.push_back(shapes[old].source);
        });
    }

    Index surfaceOf(Index old) {
        return surfaceNumbers.of(old, [&] {
            Surface surface = std::move(surfaces.surfaces[old]);
            surface.material = materialOf(surface.material);
            for (Index& material : surface.faceMaterials)
                if (material != kNone) material = materialOf(material);
            scene.surfaces.push_back(std::move(surface));
        });
    }

    void addLight(LightDraft& draft) {
        if (!draft.textureFile.empty()) {
            Texture texture;
            texture.file = draft.textureFile;
            std::get<EnvironmentLight>(draft.light).texture = textureOf(texture);
        }
        scene.lights.push_back(draft.light);
    }

    Index textureOf(const Texture& texture) {
        const auto [entry, isNew] =
            textureNumbers.try_emplace(KeyOf(texture), static_cast<Index>(scene.textures.size()));
        if (isNew) scene.textures.push_back(texture);
        return entry->second;
    }

private:
    Index materialOf(Index old) {
        return materialNumbers.of(old, [&] {
            const MaterialDraft& draft = surfaces.materials[old];
            Material material = draft.values;
            for (ShadingStep& step : material.steps)
                if (step.texture != kNone) step.texture = textureOf(draft.textures[step.texture]);
            scene.materials.push_back(std::move(material));
        });
    }

    SceneData& scene;
    std::vector<ShapeSource>& sources;
    std::deque<Shapes::Found> shapes;
    Surfaces::All surfaces;
    Numbers shapeNumbers;
    Numbers surfaceNumbers;
    Numbers materialNumbers;
    std::map<std::string, Index> textureNumbers;
};

} // namespace

void ScenePart::addInstance(Index shape, Index surface, const InstanceMatrices& matrices) {
    Instance instance;
    instance.shape = shape;
    instance.surface = surface;
    instance.firstTransform = static_cast<Index>(transforms.size());
    instance.transformCount = static_cast<Index>(matrices.count);
    for (int step = 0; step < matrices.count; ++step)
        transforms.add(matrices.steps[static_cast<std::size_t>(step)]);
    instances.add(instance);
}

SceneParts::Part SceneParts::insertAfter(Part part) {
    const std::lock_guard<std::mutex> guard(lock);
    return parts.emplace(std::next(part));
}

void SceneParts::reserveMemory(SceneData& scene) const {
    std::size_t transformCount = 0;
    std::size_t instanceCount = 0;
    for (const ScenePart& part : parts) {
        transformCount += part.transforms.size();
        instanceCount += part.instances.size();
    }
    if (transformCount >= kNone)
        throw RenderError("the scene has " + std::to_string(instanceCount) +
                          " shapes, which are too many");
    scene.transforms.reserve(transformCount);
    scene.instances.reserve(instanceCount);
}

SceneData SceneParts::join(std::deque<Shapes::Found> shapes, Surfaces::All surfaces,
                           std::vector<ShapeSource>& sources) {
    SceneData scene;
    reserveMemory(scene);
    sources.clear();
    Joiner joiner(scene, std::move(shapes), std::move(surfaces), sources);
    for (ScenePart& part : parts) {
        const auto first = static_cast<Index>(scene.transforms.size());
        part.transforms.drain([&](const M44f& matrix) { scene.transforms.push_back(matrix); });
        part.instances.drain([&](Instance instance) {
            instance.firstTransform += first;
            instance.shape = joiner.shapeOf(instance.shape);
            instance.surface = joiner.surfaceOf(instance.surface);
            scene.instances.push_back(instance);
        });
        std::move(part.locations.begin(), part.locations.end(),
                  std::back_inserter(scene.locations));
        part.locations = {};
        for (LightDraft& draft : part.lights)
            joiner.addLight(draft);
    }
    return scene;
}

} // namespace lantern
