#include "RenderScenes.h"

#include <algorithm>
#include <cmath>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Measure.h"
#include "Report.h"
#include "Scene.h"
#include "reading/Location.h"
#include "reading/ReadScene.h"
#include "reading/Suites.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

constexpr std::int64_t kMostTriangles = 2000000;

const OxPluginHost& GetHost() {
    static const OxPluginHost* const host = [] {
        OxPluginHost* const made = OxGetPluginHost();
        OxTellarProducersInitialize(made);
        return made;
    }();
    return *host;
}

lantern::SceneData ReadDescription(const GroupAttribute& description, int threads) {
    const lantern::Suites suites(GetHost());
    const lantern::Location root = lantern::Location::owning(
        suites, suites.iterators().createRootIteratorFromOpTreeDescription(description.getHandle(),
                                                                           nullptr));
    lantern::Report report;
    return lantern::ReadScene(GetHost(), root.get(), {0, threads}, report);
}

/// The description of the forest with the camera of the garden.
GroupAttribute DescribeSeenForest() {
    GroupBuilder description;
    description.update(DescribeForest(GetOptions().leaves));
    description.set("settings.opType", StringAttribute("RenderSettings"));
    description.set("settings.opInputs", StringAttribute("forest"));
    description.set("settings.opArgs.settings.cameraName",
                    StringAttribute("/root/world/garden/cameras/main_camera"));
    return description.build();
}

/// A hilly square with two triangles for each cell of a grid, and smooth normals.
lantern::Mesh MakeLandscape(std::size_t cells) {
    lantern::Mesh mesh;
    mesh.points.emplace_back();
    for (std::size_t row = 0; row <= cells; ++row) {
        for (std::size_t column = 0; column <= cells; ++column) {
            const float x = 20 * float(column) / float(cells) - 10;
            const float z = 20 * float(row) / float(cells) - 10;
            mesh.points[0].push_back({x, std::sin(x * 2) * std::cos(z * 3) / 3, z});
            const lantern::V3f normal(-std::cos(x * 2) * std::cos(z * 3) * 2 / 3, 1,
                                      std::sin(x * 2) * std::sin(z * 3));
            mesh.normals.values.push_back(normal.normalized());
        }
    }
    for (std::size_t row = 0; row < cells; ++row) {
        for (std::size_t column = 0; column < cells; ++column) {
            const auto a = static_cast<lantern::Index>(row * (cells + 1) + column);
            const lantern::Index b = a + 1, c = a + static_cast<lantern::Index>(cells) + 1;
            mesh.triangles.insert(mesh.triangles.end(), {a, c, b, b, c, c + 1});
        }
    }
    return mesh;
}

} // namespace

lantern::SceneData ReadGarden() {
    return ReadDescription(ReadDescriptionJsonFile(TELLAR_BENCH_EXAMPLES "/garden.json"), 1);
}

lantern::SceneData ReadForest(int threads) {
    return ReadDescription(DescribeSeenForest(), threads);
}

lantern::SceneData MakeDenseMesh() {
    const auto triangles = static_cast<double>(std::min(2 * GetOptions().leaves, kMostTriangles));
    lantern::SceneData scene;
    scene.shapes.resize(1);
    scene.shapes[0].mesh = MakeLandscape(static_cast<std::size_t>(std::sqrt(triangles / 2)));
    scene.materials.emplace_back();
    scene.surfaces.emplace_back();
    scene.transforms.emplace_back();
    scene.instances.emplace_back();
    scene.lights.emplace_back(lantern::EnvironmentLight{});
    scene.camera.fov = 60;
    scene.camera.toWorld[0].setAxisAngle({1, 0, 0}, -0.5);
    scene.camera.toWorld[0].translate(Imath::V3d(0, 0, 12));
    return scene;
}

} // namespace TellarBench
