#include "MovingShapes.h"

#include <cmath>

#include <OxTellarSDK/GroupBuilder.h>

#include "SceneLog.h"

namespace TellarSceneImport {

namespace {

std::vector<float> FloatsOf(const OxAttribute::GroupAttribute& geometry, const char* name) {
    const OxAttribute::FloatAttribute values(geometry.getChildByName(name));
    const auto sample = values.getNearestSample(0);
    return {sample.begin(), sample.end()};
}

} // namespace

MeshPoints PointsOf(const ContentShape& shape) {
    return {FloatsOf(shape.geometry, "point.P"), FloatsOf(shape.geometry, "point.N")};
}

void MovingShapes::add(std::uint32_t node, const MotionAt& motionAt) {
    const std::vector<std::uint32_t> shapes = std::move(content.nodes[node].shapes);
    content.nodes[node].shapes.clear();
    const std::string& name = content.nodes[node].name;
    for (std::size_t place = 0; place < shapes.size(); ++place) {
        const bool isShown = !content.shapes[shapes[place]].type.empty();
        const auto motion = isShown ? motionAt(place, shapes[place]) : nullptr;
        if (!motion) {
            content.nodes[node].shapes.push_back(shapes[place]);
            continue;
        }
        ContentShape shape = content.shapes[shapes[place]];
        if (shape.name.empty() && !name.empty()) shape.name = name + "Shape";
        const auto added = static_cast<std::uint32_t>(content.shapes.size());
        content.shapes.push_back(std::move(shape));
        content.nodes[motion->hasSkin() ? 0 : node].shapes.push_back(added);
        motions.emplace_back(added, motion);
    }
}

// Sets the motion, or the geometry if there is a single sample.
void MovingShapes::setMotion(ContentShape& shape, const std::shared_ptr<MeshMotion>& motion) const {
    shape.bound = motion->bound();
    if (motion->sampleCount() > 1) {
        shape.motion = motion;
        return;
    }
    OxAttribute::GroupBuilder attrs;
    attrs.set("geometry", shape.geometry);
    motion->apply({}, attrs);
    shape.geometry = attrs.build().getChildByName("geometry");
}

void MovingShapes::finish(const std::string& path) {
    std::vector<std::shared_ptr<MeshMotion>> all;
    for (const auto& [shape, motion] : motions)
        all.push_back(motion);
    const double kept = LimitMotion(all, kMaxMotionBytes);
    for (const auto& [shape, motion] : motions)
        setMotion(content.shapes[shape], motion);
    if (kept < 1)
        WarnAboutScene(path, "the moving points take more than " +
                                 std::to_string(kMaxMotionBytes >> 20) + " MiB; one sample in " +
                                 std::to_string(std::lround(std::ceil(1 / kept))) + " is kept");
}

} // namespace TellarSceneImport
