#include "Subcommands.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarSDK/Attribute.h>

#include "ChosenSettings.h"
#include "JsonText.h"
#include "NumberText.h"
#include "Output.h"
#include "RenderCamera.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneSettings.h"
#include "Table.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;
using Vector = Imath::Vec3<double>;

constexpr const char* kExamples = R"(Examples:
  tellar project examples/garden.json --at /root/world/garden/pond
  tellar project examples/garden.json --at /root/world/garden/pond --resolution hd_1080
  tellar project shot.oxop --at /root/world/car --camera /root/world/cam/witness --json)";

constexpr std::size_t kBoundValues = 6;

struct ProjectOptions {
    std::string scene;
    std::string location;
    ChosenSettings chosen;
    bool json = false;
};

/// A point in the location's space, and where it is on the picture.
struct ProjectedPoint {
    Vector local;
    Vector ndc;
    bool isBehind; // behind a perspective camera
    double pixelX, pixelY;
};

struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void include(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    bool isEmpty() const { return !(low <= high); }
};

struct Projection {
    std::string location;
    RenderCamera camera;
    Resolution resolution;
    std::vector<ProjectedPoint> points;
    Range ndcX, ndcY; // ranges over the points in front of the camera
    Range depth;
    std::optional<int> pixelArea;
    std::vector<std::string> notes;
};

std::vector<Vector> CornersOf(const ConstSample<double>& bound) {
    std::vector<Vector> corners;
    for (const std::size_t z : {4, 5})
        for (const std::size_t y : {2, 3})
            for (const std::size_t x : {0, 1})
                corners.emplace_back(bound[x], bound[y], bound[z]);
    return corners;
}

std::vector<ProjectedPoint> ProjectPoints(const GeometryProducer::Ptr& location,
                                          const RenderCamera& camera,
                                          const std::vector<Vector>& points) {
    std::vector<Vector> ndc = points;
    TELLAR::ConvertPointListToNDC(location, camera.path, ndc);
    const Imath::Matrix44<double> screen = TELLAR::GetLocalToScreenMatrix(location);
    std::vector<ProjectedPoint> projected;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vector& p = points[i];
        const Imath::Vec4<double> pixel = Imath::Vec4<double>(p.x, p.y, p.z, 1.0) * screen;
        const bool isBehind = !camera.info.orthographic && pixel.w <= 0;
        projected.push_back({p, ndc[i], isBehind, pixel.x / pixel.w, pixel.y / pixel.w});
    }
    return projected;
}

void FindRanges(Projection& projection) {
    for (const ProjectedPoint& point : projection.points) {
        projection.depth.include(point.ndc.z);
        if (point.isBehind) continue;
        projection.ndcX.include(point.ndc.x);
        projection.ndcY.include(point.ndc.y);
    }
}

/// Points behind a camera are mirrored in NDC, so no rectangle includes them.
void NotePointsBehind(Projection& projection) {
    const auto& points = projection.points;
    const auto behind = static_cast<std::size_t>(std::count_if(
        points.begin(), points.end(), [](const ProjectedPoint& point) { return point.isBehind; }));
    if (behind == 0) return;
    if (points.size() == 1)
        projection.notes.emplace_back("the origin is behind the camera");
    else if (behind == points.size())
        projection.notes.emplace_back("all corners are behind the camera");
    else
        projection.notes.push_back(std::to_string(behind) + " of " + std::to_string(points.size()) +
                                   " corners are behind the camera; the NDC rectangle is around "
                                   "the others");
}

/// Projects the corners of the location's bound, or its origin when it has none.
void ProjectBound(const GeometryProducer::Ptr& location, Projection& projection) {
    const Attribute bound = location->getAttribute("bound");
    const ConstSample<double> edges = DoubleAttribute(bound).getNearestSample(0.0f);
    if (edges.size() >= kBoundValues) {
        projection.points = ProjectPoints(location, projection.camera, CornersOf(edges));
        projection.pixelArea = TELLAR::GetPixelAreaThroughCamera(location, projection.camera.path,
                                                                 projection.resolution.name);
        return;
    }
    projection.points = ProjectPoints(location, projection.camera, {Vector(0.0)});
    const std::string lack =
        bound.isValid() ? "\"bound\" is not six doubles" : "the location has no \"bound\"";
    projection.notes.push_back(lack + ": its origin alone is projected, and has no area");
}

Projection Project(const Scene& scene, const std::string& path) {
    const GeometryProducer::Ptr location = scene.at(path);
    const GeometryProducer::Ptr root = location->getRootProducer();
    Projection projection;
    projection.location = location->getFullName();
    projection.camera = FindCamera(scene, root, TELLAR::GetCameraPath(root));
    projection.resolution = ReadResolution(root);
    projection.notes = NotesAbout(projection.camera.info);

    ProjectBound(location, projection);
    FindRanges(projection);
    NotePointsBehind(projection);
    return projection;
}

std::string RangeText(const Range& range) {
    return range.isEmpty() ? "none" : RoundedText(range.low) + " to " + RoundedText(range.high);
}

std::vector<std::string> RowOf(const ProjectedPoint& point) {
    std::vector<std::string> row = {NumberText(point.local.x), NumberText(point.local.y),
                                    NumberText(point.local.z), RoundedText(point.ndc.x),
                                    RoundedText(point.ndc.y),  RoundedText(point.ndc.z)};
    if (point.isBehind)
        row.emplace_back("behind the camera");
    else
        row.insert(row.end(), {RoundedText(point.pixelX), RoundedText(point.pixelY)});
    return row;
}

std::string TextOf(const Projection& projection) {
    constexpr std::size_t kIndent = 4;
    Table facts = {{"location", projection.location},
                   {"camera", projection.camera.path},
                   {"resolution", ResolutionText(projection.resolution)},
                   {"NDC x", RangeText(projection.ndcX)},
                   {"NDC y", RangeText(projection.ndcY)},
                   {"depth", RangeText(projection.depth)}};
    if (projection.pixelArea)
        facts.push_back({"pixel area", std::to_string(*projection.pixelArea)});
    Table points = {{"x", "y", "z", "NDC x", "NDC y", "depth", "pixel x", "pixel y"}};
    for (const ProjectedPoint& point : projection.points)
        points.push_back(RowOf(point));
    std::string out;
    AppendTable(out, facts);
    out += projection.points.size() == 1 ? "origin\n" : "corners of the bound\n";
    AppendTable(out, points, kIndent);
    AppendNotes(out, projection.notes);
    return out;
}

std::string JsonOf(const Vector& point) {
    return JsonList(std::vector<double>{point.x, point.y, point.z});
}

std::string JsonOf(const ProjectedPoint& point) {
    const std::string pixel =
        point.isBehind ? "null" : JsonList(std::vector<double>{point.pixelX, point.pixelY});
    return JsonObject()
        .addJson("local", JsonOf(point.local))
        .addJson("ndc", JsonOf(point.ndc))
        .addJson("pixel", pixel)
        .line();
}

/// null when one of the ranges is empty.
std::string JsonOfRanges(const std::vector<Range>& ranges) {
    std::vector<double> numbers;
    for (const Range& range : ranges) {
        if (range.isEmpty()) return "null";
        numbers.insert(numbers.end(), {range.low, range.high});
    }
    return JsonList(numbers);
}

std::string JsonOf(const Projection& projection) {
    std::vector<std::string> points;
    for (const ProjectedPoint& point : projection.points)
        points.push_back(JsonOf(point));
    return JsonObject()
        .add("path", projection.location)
        .add("camera", projection.camera.path)
        .add("resolution", projection.resolution)
        .addJson("ndcRectangle", JsonOfRanges({projection.ndcX, projection.ndcY}))
        .addJson("depthRange", JsonOfRanges({projection.depth}))
        .addJson("pixelArea", projection.pixelArea ? Json(*projection.pixelArea) : "null")
        .addJson("points", JsonLines(points))
        .addJson("notes", JsonList(projection.notes))
        .document();
}

void RunProject(const ProjectOptions& options) {
    CheckLocationPath("--at", options.location);
    CheckChosen(options.chosen);
    const Scene scene = WithChosen(Scene(options.scene), options.chosen);
    const Projection projection = Project(scene, options.location);
    WriteOutput(options.json ? JsonOf(projection) : TextOf(projection));
    FlushOutput();
}

} // namespace

void AddProjectCommand(CLI::App& app) {
    const auto options = std::make_shared<ProjectOptions>();
    CLI::App& command = *app.add_subcommand("project", "Print where a location is on the picture");
    AddScene(command, options->scene)->required();
    AddLocation(command, options->location, "The location; its \"bound\" is projected");
    command.add_option("--camera", options->chosen.camera, "Look through this camera instead")
        ->option_text("CAMERA");
    command
        .add_option("--resolution", options->chosen.resolution, "For a picture of this resolution")
        ->option_text("NAME");
    command.add_flag("--json", options->json, "Print a JSON object");
    command.footer(kExamples);
    command.callback([options] { RunProject(*options); });
}

} // namespace TellarTool
