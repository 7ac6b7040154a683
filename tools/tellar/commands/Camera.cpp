#include "Subcommands.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <Imath/ImathMatrix.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/XFormUtil.h>

#include "CameraChoice.h"
#include "JsonText.h"
#include "NumberOption.h"
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
using TELLAR::CameraInfo;
using TELLAR::GeometryProducer;

constexpr const char* kExamples = R"(Examples:
  tellar camera examples/garden.json                the render camera
  tellar camera examples/garden.json --camera /root/world/garden/cameras/main_camera
  tellar camera shot.oxop --frame 12 --shutter -0.25,0.25
  tellar camera shot.oxop --json)";

struct CameraOptions {
    std::string scene;
    std::optional<std::string> path; // absent: the render camera
    std::optional<float> frame;
    std::optional<Shutter> shutter; // absent: the scene's
    bool json = false;
};

/// A sample of the camera's transform, with the precision that renderers get.
struct TransformSample {
    float time;
    Imath::Matrix44<float> matrix;
};

/// Everything that the command prints about a camera.
struct CameraReport {
    RenderCamera camera;
    Resolution resolution;
    std::optional<float> frame;
    Shutter shutter; // the frame is added
    std::vector<float> sampleTimes;
    std::vector<TransformSample> shutterSamples;

    Imath::Matrix44<double> worldToCamera() const { return camera.info.xform.inverse(); }
    /// In single precision, as the library has the lens.
    Imath::Matrix44<float> projection() const {
        return Imath::Matrix44<float>(
            TELLAR::GetProjectionMatrix(camera.info, resolution.aspect()));
    }
};

/// Replaces lens and transform, those of the samples nearest to time 0, by those at `frame`.
void MoveToFrame(RenderCamera& camera, float frame) {
    const GroupAttribute geometry(camera.location->getAttribute("geometry"));
    CameraInfo& info = camera.info;
    static_cast<TELLAR::CameraGeometry&>(info) =
        TELLAR::GetInterpolatedCameraGeometryFromAttr(geometry, frame);
    double width = 0;
    DoubleAttribute(geometry.getChildByName("orthographicWidth"))
        .fillInterpSample(&width, 1, frame, 0.0, false);
    info.orthographicWidth = static_cast<float>(width);

    const DoubleAttribute matrix =
        OxXFormUtil::CalcTransformMatrixAtTime(camera.location->getGlobalXFormGroup(), frame).first;
    if (matrix.isValid()) matrix.fillInterpSample(info.xform.getValue(), 16, frame);
}

std::vector<float> SampleTimes(const FloatAttribute& samples) {
    std::vector<float> times;
    for (std::int64_t i = 0; i < samples.getNumberOfTimeSamples(); ++i)
        times.push_back(samples.getSampleTime(i));
    return times;
}

std::vector<TransformSample> SamplesFor(const Shutter& shutter, const FloatAttribute& samples,
                                        const std::vector<float>& sampleTimes) {
    std::vector<float> relevant;
    TELLAR::FindSampleTimesRelevantToShutterRange({sampleTimes.begin(), sampleTimes.end()},
                                                  shutter.open, shutter.close, relevant);
    std::vector<TransformSample> found;
    for (const float time : relevant) {
        found.push_back({time, {}});
        std::copy_n(samples.getNearestSample(time).data(), 16, found.back().matrix.getValue());
    }
    return found;
}

Shutter ChooseShutter(const Scene& scene, const GeometryProducer::Ptr& root,
                      const CameraOptions& options) {
    const Shutter shutter = options.shutter ? *options.shutter : ReadShutter(scene, root);
    if (shutter.close < shutter.open)
        throw std::runtime_error((options.shutter ? "--shutter" : scene.getPath()) +
                                 ": the shutter closes, at " + NumberText(shutter.close) +
                                 ", before it opens, at " + NumberText(shutter.open));
    const float frame = options.frame.value_or(0);
    return {frame + shutter.open, frame + shutter.close};
}

CameraReport Look(const Scene& scene, const CameraOptions& options) {
    const GeometryProducer::Ptr root = scene.at("/root");
    CameraReport report;
    report.camera =
        FindCamera(scene, root,
                   options.path ? ChooseCamera(scene, *options.path) : TELLAR::GetCameraPath(root));
    report.resolution = ReadResolution(root);
    report.frame = options.frame;
    report.shutter = ChooseShutter(scene, root, options);
    const FloatAttribute& samples = report.camera.info.xformSamples;
    report.sampleTimes = SampleTimes(samples);
    report.shutterSamples = SamplesFor(report.shutter, samples, report.sampleTimes);
    if (options.frame) MoveToFrame(report.camera, *options.frame);
    return report;
}

const char* ProjectionName(const CameraInfo& camera) {
    return camera.orthographic ? "orthographic" : "perspective";
}

template <typename Times, typename ToTime>
std::string TimesText(const Times& times, ToTime toTime) {
    std::string text;
    for (const auto& time : times)
        text += (text.empty() ? "" : ", ") + NumberText(toTime(time));
    return text.empty() ? "none" : text;
}

Table FactsOf(const CameraReport& report) {
    const CameraInfo& camera = report.camera.info;
    Table facts = {{"camera", report.camera.path}, {"projection", ProjectionName(camera)}};
    for (const LensValue& value : kLensValues)
        facts.push_back({value.name, NumberText(camera.*value.member)});
    if (camera.orthographic)
        facts.push_back({"orthographicWidth", NumberText(camera.orthographicWidth)});
    facts.push_back({"resolution", ResolutionText(report.resolution)});
    facts.push_back({"aspect", NumberText(report.resolution.aspect())});
    if (report.frame) facts.push_back({"frame", NumberText(*report.frame)});
    facts.push_back(
        {"shutter", NumberText(report.shutter.open) + " to " + NumberText(report.shutter.close)});
    facts.push_back(
        {"sample times", TimesText(report.sampleTimes, [](float time) { return time; })});
    facts.push_back(
        {"shutter samples", TimesText(report.shutterSamples,
                                      [](const TransformSample& sample) { return sample.time; })});
    return facts;
}

std::string TextOf(const CameraReport& report) {
    const CameraInfo& camera = report.camera.info;
    std::string out;
    AppendTable(out, FactsOf(report));
    AppendMatrix(out, "camera to world", camera.xform);
    AppendMatrix(out, "world to camera", report.worldToCamera());
    AppendMatrix(out, "projection", report.projection());
    for (const TransformSample& sample : report.shutterSamples)
        AppendMatrix(out, "camera to world, sample at " + NumberText(sample.time), sample.matrix);
    AppendNotes(out, NotesAbout(camera));
    return out;
}

std::string JsonOf(const TransformSample& sample) {
    return JsonObject().add("time", sample.time).add("cameraToWorld", sample.matrix).line();
}

std::string JsonOf(const std::vector<TransformSample>& samples) {
    std::vector<std::string> lines;
    lines.reserve(samples.size());
    for (const TransformSample& sample : samples)
        lines.push_back(JsonOf(sample));
    return JsonLines(lines);
}

std::string JsonOf(const CameraReport& report) {
    const CameraInfo& camera = report.camera.info;
    JsonObject object;
    object.add("path", report.camera.path);
    object.add("projection", std::string(ProjectionName(camera)));
    for (const LensValue& value : kLensValues)
        object.add(value.name, camera.*value.member);
    if (camera.orthographic) object.add("orthographicWidth", camera.orthographicWidth);
    object.add("resolution", report.resolution);
    object.addJson("frame", report.frame ? Json(*report.frame) : "null");
    object.add("cameraToWorld", camera.xform);
    object.add("worldToCamera", report.worldToCamera());
    object.add("projectionMatrix", report.projection());
    object.addJson("shutter",
                   JsonList(std::vector<float>{report.shutter.open, report.shutter.close}));
    object.addJson("sampleTimes", JsonList(report.sampleTimes));
    object.addJson("shutterSamples", JsonOf(report.shutterSamples));
    object.addJson("notes", JsonList(NotesAbout(camera)));
    return object.document();
}

void RunCamera(const CameraOptions& options) {
    if (options.path && options.path->empty())
        throw std::runtime_error("--camera: \"\" is no absolute location path");
    const Scene scene(options.scene);
    const CameraReport report = Look(scene, options);
    WriteOutput(options.json ? JsonOf(report) : TextOf(report));
    FlushOutput();
}

Shutter ShutterFromText(const std::string& text) {
    const auto times = NumberList<float>("--shutter", text, {2}, "OPEN,CLOSE, such as -0.25,0.25");
    return {times.front(), times.back()};
}

} // namespace

void AddCameraCommand(CLI::App& app) {
    const auto options = std::make_shared<CameraOptions>();
    CLI::App& command = *app.add_subcommand(
        "camera", "Print lens, matrices and shutter samples of the render camera");
    AddScene(command, options->scene)->required();
    command.add_option("--camera", options->path, "Print those of this camera instead")
        ->option_text("CAMERA");
    AddNumber(command, "--frame", options->frame,
              "Interpolate lens and transform at this time; without it they are those of the "
              "sample nearest to time 0");
    command
        .add_option_function<std::string>(
            "--shutter",
            [options](const std::string& text) { options->shutter = ShutterFromText(text); },
            "When the shutter opens and closes, in frames beside --frame; without it the render "
            "settings tell")
        ->option_text("OPEN,CLOSE");
    command.add_flag("--json", options->json, "Print a JSON object");
    command.footer(kExamples);
    command.callback([options] { RunCamera(*options); });
}

} // namespace TellarTool
