#include "ReadyScene.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarSDK/Attribute.h>

#include "Framing.h"
#include "RenderCamera.h"
#include "SceneSettings.h"
#include "SceneSurvey.h"
#include "Studio.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Children = std::vector<GroupAttribute::Child>;
using TELLAR::GeometryProducer;

constexpr int kShorterSide = 512; // pixels, for a picture without a given size
constexpr double kMostAspect = 16;
constexpr float kSameAspect = 1e-4f;
// The radius around a point alone, which renderers draw as a small ball, that the picture shows.
// Far from the origin, where coordinates have fewer digits, it is a share of the distance.
constexpr double kLonePointView = 0.02;
constexpr double kLeastShare = 1e-5;

GroupAttribute Group(const Children& children) {
    return GroupAttribute(children, true);
}

Scene WithSetting(const Scene& scene, const char* name, const std::string& value) {
    return scene.withRenderSettings(Group({{name, StringAttribute(value)}}));
}

bool HasSetting(const GeometryProducer::Ptr& root, const std::string& name) {
    return root->getAttribute(("renderSettings." + name).c_str()).isValid();
}

/// A name that no child of /root has.
std::string FreeName(const GeometryProducer::Ptr& root, std::string name) {
    while (root->getChildByName(name.c_str()))
        name += '_';
    return name;
}

/// "512x288" for a window of 16:9.
std::string SizeText(double aspect) {
    const double bounded = std::clamp(aspect, 1 / kMostAspect, kMostAspect);
    const auto longer = [](double ratio) {
        return std::to_string(std::lround(kShorterSide * ratio));
    };
    const std::string shorter = std::to_string(kShorterSide);
    return bounded >= 1 ? longer(bounded) + 'x' + shorter : shorter + 'x' + longer(1 / bounded);
}

/// Shows at least the whole window of the camera in a picture of another shape.
Scene WithWindow(const Scene& scene, const std::string& camera, const TELLAR::CameraGeometry& lens,
                 double aspect) {
    const double width = double(lens.right) - double(lens.left);
    const double height = double(lens.top) - double(lens.bottom);
    const double wider = std::max(1.0, aspect * height / width);
    const double higher = std::max(1.0, width / (aspect * height));
    const auto edge = [](float from, float to, double scale) {
        const double middle = (double(from) + double(to)) / 2;
        return DoubleAttribute(middle + (double(from) - middle) * scale);
    };
    const GroupAttribute geometry = Group({{"left", edge(lens.left, lens.right, wider)},
                                           {"right", edge(lens.right, lens.left, wider)},
                                           {"top", edge(lens.top, lens.bottom, higher)},
                                           {"bottom", edge(lens.bottom, lens.top, higher)}});
    return scene.withLocation(camera, Group({{"a", Group({{"geometry", geometry}})}}));
}

/// A model's camera is made for a picture of any shape, unlike the camera of a description.
Scene WithFittingWindow(const Scene& scene, const std::string& camera) {
    const GeometryProducer::Ptr root = scene.at("/root");
    const TELLAR::CameraGeometry lens = FindCamera(scene, root, camera).info;
    const float window = (lens.right - lens.left) / (lens.top - lens.bottom);
    if (!std::isfinite(window) || window <= 0) return scene;
    if (!HasSetting(root, "resolution"))
        return WithSetting(scene, "resolution", SizeText(double(window)));
    const float aspect = ReadResolution(root).aspect();
    if (std::abs(aspect / window - 1) < kSameAspect) return scene;
    return WithWindow(scene, camera, lens, double(aspect));
}

/// "a", "a and b".
std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : " and ") + part;
    return text;
}

/// The camera that the picture of a scene is drawn through.
struct CameraInUse {
    std::string path;
    bool isThere = false; // otherwise nothing names it, and it is the default
};

/// Throws std::runtime_error unless the location is a camera.
CameraInUse FindCameraInUse(const Scene& scene, const GeometryProducer::Ptr& root) {
    const std::string path = TELLAR::GetCameraPath(root);
    if (!HasSetting(root, "cameraName") && !root->getProducerByPath(path)) return {path, false};
    FindCamera(scene, root, path);
    return {path, true};
}

/// Adds the camera and lights that a scene lacks.
class Preparation {
public:
    Preparation(const Scene& scene, const GeometryProducer::Ptr& root, CameraInUse camera,
                const std::vector<float>& times)
        : scene(scene), root(root), times(times), camera(std::move(camera)),
          place(FreeName(root, "studio")), framing(double(ReadResolution(root).aspect())),
          survey(FindFirstCameraAndLight(root)) {}

    bool isDark() const { return survey.lights == 0; }

    void addCamera() {
        if (!camera.isThere) chooseCamera();
    }

    void addLights() {
        frameShapes();
        if (framing.isEmpty()) return;
        additions.emplace_back("lights", LightsLocation(framing));
        if (isDark()) missing.emplace_back("no light");
        told.emplace_back("a studio lights it");
    }

    ReadyScene getResult() const {
        Scene ready = scene;
        if (!additions.empty())
            ready = ready.withLocation("/root/" + place, WorldLocation(additions));
        if (!camera.isThere) ready = WithSetting(ready, "cameraName", camera.path);
        if (scene.getKind() == SceneKind::SceneFile && !isFramed)
            ready = WithFittingWindow(ready, camera.path);
        return {ready, note()};
    }

private:
    void chooseCamera() {
        if (!survey.cameras.empty()) {
            camera.path = survey.cameras.front();
            told.push_back("it is seen by its first camera, " + camera.path);
            return;
        }
        frameShapes();
        if (framing.isEmpty())
            throw std::runtime_error(scene.getPath() +
                                     ": there is no camera, and nothing to look at");
        isFramed = true;
        camera.path = "/root/" + place + "/camera";
        additions.emplace_back("camera", CameraLocation(framing.getCamera()));
        missing.emplace_back("no camera");
        told.emplace_back("the whole of it is framed");
    }

    /// Walks once more, and only if it must, because this reads the points of all shapes.
    void frameShapes() {
        if (!framing.isEmpty()) return;
        SurveyScene(root, times, &framing);
        const Imath::V3d corner = framing.getBounds().min;
        if (!framing.isEmpty() && corner == framing.getBounds().max)
            framing.add(corner, std::max(kLonePointView, kLeastShare * corner.length()));
    }

    std::string note() const {
        if (told.empty()) return {};
        const std::string has = missing.empty() ? "" : " has " + Joined(missing);
        return scene.getPath() + has + ": " + Joined(told);
    }

    const Scene& scene;
    const GeometryProducer::Ptr root;
    const std::vector<float>& times;
    CameraInUse camera;
    const std::string place; // the name of a child of /root
    Framing framing;
    const SceneSurvey survey;
    bool isFramed = false;
    Children additions;               // children that are added to that child
    std::vector<std::string> missing; // parts that the scene lacks, for the note
    std::vector<std::string> told;
};

} // namespace

ReadyScene MakeReady(const Scene& scene, const std::vector<float>& times, StudioUse studio) {
    const GeometryProducer::Ptr root = scene.at("/root");
    const CameraInUse camera = FindCameraInUse(scene, root);
    const bool isModel = scene.getKind() == SceneKind::SceneFile;
    const bool mayBeDark = studio == StudioUse::WhereDark && (isModel || !camera.isThere);
    const bool isReady = camera.isThere && !isModel && studio != StudioUse::Always;
    if (isReady) return {scene, ""};
    Preparation preparation(scene, root, camera, times);
    preparation.addCamera();
    if (studio == StudioUse::Always || (mayBeDark && preparation.isDark())) preparation.addLights();
    ReadyScene ready = preparation.getResult();
    // The cache has the lenses of the scene as it was.
    TELLAR::ClearCameraInfoCache();
    return ready;
}

} // namespace TellarTool
