#include "reading/ReadScene.h"

#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "reading/ReadLayers.h"
#include "reading/Settings.h"
#include "reading/Walk.h"

namespace lantern {

namespace {

constexpr int kMostThreads = 256;

int CountThreads(const ReadOptions& options) {
    const int wanted = options.threads > 0 ? options.threads
                                           : static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(wanted, 1, kMostThreads);
}

/// Frees the memory of the host's flattened materials when the scene has been read.
class FlattenedMaterialScope {
public:
    explicit FlattenedMaterialScope(const Suites& suites) : suites(suites) {}
    ~FlattenedMaterialScope() { suites.utils().emptyFlattenedMaterialCache(); }
    FlattenedMaterialScope(const FlattenedMaterialScope&) = delete;
    FlattenedMaterialScope& operator=(const FlattenedMaterialScope&) = delete;

private:
    const Suites& suites;
};

bool IsLight(const Material& material) {
    return material.isEmissive() && !material.isUnlit;
}

/// Adds a sky to a scene in which nothing emits light; its picture would be black.
void LightIfDark(SceneData& scene, Report& report) {
    const bool isLit = !scene.lights.empty() ||
                       std::any_of(scene.materials.begin(), scene.materials.end(), IsLight);
    if (isLit) return;
    report.info("nothing in the scene shines: it is lit by a plain sky");
    EnvironmentLight sky;
    sky.horizon = {0.65f, 0.7f, 0.75f};
    sky.zenith = {0.35f, 0.5f, 0.75f};
    sky.ground = {0.3f, 0.28f, 0.26f};
    scene.lights.emplace_back(sky);
}

SceneFacts ReadFacts(const Suites& suites, const Location& root, float frame) {
    const Attribute camera =
        Attribute::owning(suites.attributes(), suites.utils().getCameraPath(root.get(), nullptr));
    return {root.attribute("renderSettings.scene").text(), camera.text(), frame};
}

ReadResult Read(const Suites& suites, const Location& root, const ReadOptions& options,
                const ReadResult& earlier, Report& report) {
    Shutter shutter;
    SceneView view = ReadView(suites, root, options.frame, shutter);

    report.progress(0, "reading the scene");
    const FlattenedMaterialScope flattened(suites);
    const Delegates delegates(suites);
    Warnings warnings(report);
    const bool areShapesEqual =
        shutter.open == earlier.shutter.open && shutter.close == earlier.shutter.close;
    const ShapeMemory memory = areShapesEqual ? ShapeMemory(earlier.sources) : ShapeMemory();
    Shapes shapes(suites, shutter, memory, warnings);
    Surfaces surfaces(suites, warnings);
    SceneParts parts;
    WalkScene(root, CountThreads(options),
              {suites, shutter, delegates, shapes, surfaces, parts, warnings, report,
               view.layers.needsNames()});
    report.throwIfCancelled();

    ReadResult result;
    result.shutter = shutter;
    SceneData& scene = result.scene;
    scene = parts.join(shapes.take(), surfaces.take(), result.sources);
    warnings.tellTheRest();
    static_cast<SceneView&>(scene) = std::move(view);
    if (scene.layers.motion && shutter.open == shutter.close)
        report.warn(
            "the shutter is closed, so there is no motion: set \"renderSettings.shutterOpen\" "
            "and \"renderSettings.shutterClose\"");
    LightIfDark(scene, report);
    return result;
}

} // namespace

SceneView ReadView(const Suites& suites, const Location& root, float frame, Shutter& shutter) {
    shutter = ReadShutter(root, frame);
    SceneView view;
    view.framing = ReadFraming(suites, root);
    view.quality = ReadQuality(root);
    view.layers = ReadLayers(root);
    view.camera = ReadCamera(suites, root, frame, shutter);
    view.facts = ReadFacts(suites, root, frame);
    return view;
}

SceneData ReadScene(const OxPluginHost& host, OxSgIteratorStruct* root, const ReadOptions& options,
                    Report& report) {
    const Suites suites(host);
    return ReadScene(suites, Location::retaining(suites, root), options, {}, report).scene;
}

ReadResult ReadScene(const Suites& suites, const Location& root, const ReadOptions& options,
                     const ReadResult& earlier, Report& report) {
    if (!root) throw RenderError("there is no scene to read");
    if (root.hasFailed()) throw root.failure();
    try {
        return Read(suites, root, options, earlier, report);
    } catch (const RenderError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw RenderError("there is not enough memory for the scene", kOxErrorMemory);
    } catch (const std::exception& error) {
        throw RenderError(std::string("the scene cannot be read: ") + error.what());
    }
}

} // namespace lantern
