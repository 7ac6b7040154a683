#include "RenderObjectChecks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarProducers/Scene.h>

#include "EditedScene.h"
#include "HostSuites.h"
#include "LocationHandle.h"
#include "RenderObject.h"
#include "TestScenes.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

const OxRendererPluginSuite_v2& SuiteOf(const RendererTrials& trials) {
    return RendererSuite<OxRendererPluginSuite_v2>(trials.subject, trials.version);
}

/// A job without a listener and without a file.
OxRenderJob_v2 JobOf(OxSgIteratorStruct* root) {
    OxRenderJob_v2 job{};
    job.size = sizeof job;
    job.root = root;
    job.samples = 1;
    job.threads = 2;
    job.listener.size = sizeof job.listener;
    return job;
}

/// A fault unless the call was refused: it returned `refusal`, with an error that tells why.
template <typename Value>
void ExpectRefusal(const RendererTrials& trials, const std::string& what, Value value,
                   Value refusal, const ErrorOut& error) {
    if (value != refusal)
        trials.fault(what + ": returns " + std::to_string(value) + " instead of " +
                     std::to_string(refusal));
    else if (error.text().empty())
        trials.fault(what + ": is refused without an error that tells why");
}

// Layers ------------------------------------------------------------------------------------------

void CheckLayer(const RendererTrials& trials, OxRenderStruct* render, std::int64_t index) {
    const OxRendererPluginSuite_v2& suite = SuiteOf(trials);
    OxRenderLayer layer{};
    const std::string what = "layer " + std::to_string(index);
    if (!suite.getLayer(render, index, &layer)) return trials.fault(what + ": is not described");
    const std::string channels = layer.channels ? layer.channels : "";
    if (std::count(channels.begin(), channels.end(), ',') + 1 != layer.channelCount)
        trials.fault(what + ": has " + std::to_string(layer.channelCount) +
                     " channels, and their names are \"" + channels + '"');
    const std::int64_t count =
        std::int64_t(layer.region.width) * layer.region.height * layer.channelCount;
    if (layer.region.width < 1 || layer.region.height < 1 || layer.channelCount < 1)
        return trials.fault(what + ": has no pixels or no channels");
    std::vector<float> values(static_cast<std::size_t>(count) + 1, -7.5f);
    ErrorOut error;
    if (suite.readLayer(render, index, values.data(), count, error.get()) < 1)
        trials.fault(what + ": has no complete pass, though the render is done: " + error.text());
    if (values.back() != -7.5f) trials.fault(what + ": more values are written than asked for");
    ErrorOut wrongCount;
    ExpectRefusal<std::int64_t>(
        trials, what + " with a wrong number of values",
        suite.readLayer(render, index, values.data(), count - 1, wrongCount.get()), -1, wrongCount);
}

void CheckAbsentLayer(const RendererTrials& trials, OxRenderStruct* render, std::int64_t index) {
    const OxRendererPluginSuite_v2& suite = SuiteOf(trials);
    const std::string what = "layer " + std::to_string(index) + ", which there is not";
    OxRenderLayer layer{};
    if (suite.getLayer(render, index, &layer)) trials.fault(what + ": is described");
    float value = 0;
    ErrorOut error;
    ExpectRefusal<std::int64_t>(trials, what,
                                suite.readLayer(render, index, &value, 1, error.get()), -1, error);
}

// Edits -------------------------------------------------------------------------------------------

/// An edit of the scene that LiveScene describes.
struct Step {
    const char* name;
    std::function<void(TELLAR::SceneEdit&)> fill;
};

GroupAttribute SphereAt(const std::string& location) {
    return GroupAttribute({{"location", StringAttribute(location)},
                           {"a", GroupAttribute({{"type", StringAttribute("sphere")}}, true)}},
                          true);
}

/// SceneOfEverything with ops to edit: "move" moves kMovedShape, "added" is a sphere that "with"
/// can merge, and "gone" prunes.
GroupAttribute LiveScene() {
    const GroupAttribute moved =
        WithOp(SceneOfEverything(), "move", "Transform",
               GroupAttribute({{"paths", StringAttribute(kMovedShape)}}, true));
    const GroupAttribute merged = WithOp(moved, "with", "Merge", {});
    return WithOp(merged, "gone", "Prune",
                  GroupAttribute({{"paths", StringAttribute("/root/world/nothing")}}, true));
}

std::vector<Step> Steps() {
    using Edit = TELLAR::SceneEdit;
    return {
        {"a moved shape",
         [](Edit& edit) {
             edit.setOpArg("move", "translate", DoubleAttribute({0.5, 1.0, 0.0}, 3));
         }},
        {"another material",
         [](Edit& edit) {
             edit.setOpArg("scene", "c.materials.c.classic.a.material.surfaceParams.baseColor",
                           DoubleAttribute({1.0, 0.1, 0.1}, 3));
         }},
        {"a brighter light",
         [](Edit& edit) {
             edit.setOpArg("scene", "c.world.c.lights.c.sun.a.light.intensity",
                           DoubleAttribute(3.0));
         }},
        {"a hidden shape",
         [](Edit& edit) {
             edit.setOpArg("scene", "c.world.c.shapes.c.ball.a.visible", IntAttribute(0));
         }},
        {"a shape of another type",
         [](Edit& edit) {
             edit.setOpArg("scene", "c.world.c.shapes.c.cloud.a.type", StringAttribute("sphere"));
         }},
        {"an added shape",
         [](Edit& edit) {
             edit.addOp("added", "StaticScene", SphereAt("/root/world/added"), {});
             edit.setOpInputs("with", {"move", "added"});
         }},
        {"a removed shape",
         [](Edit& edit) {
             edit.setOpArg("gone", "paths", StringAttribute("/root/world/shapes/smooth"));
         }},
        {"a removed light",
         [](Edit& edit) {
             edit.setOpArg("gone", "paths", StringAttribute("/root/world/lights/sky"));
         }},
        {"a moved camera",
         [](Edit& edit) {
             edit.setOpArg("camera", "translate", DoubleAttribute({1.0, 1.0, 11.0}, 3));
         }},
        {"another resolution",
         [](Edit& edit) {
             edit.setOpArg("settings", "settings.resolution", StringAttribute("40x36"));
         }},
    };
}

} // namespace

void CheckNullRender(const RendererTrials& trials) {
    const OxRendererPluginSuite_v2& suite = SuiteOf(trials);
    suite.release(nullptr);
    suite.request(nullptr, kOxRenderCancel);
    suite.pause(nullptr);
    suite.resume(nullptr);
    OxRenderLayer layer{};
    if (suite.getNumberOfLayers(nullptr) != 0 || suite.getLayer(nullptr, 0, &layer) != 0)
        trials.fault("a null render has layers");
    ErrorOut wait, region, read, changes, job;
    const auto status = suite.wait(nullptr, 0, wait.get());
    ExpectRefusal<std::int32_t>(trials, "wait(null)", status, kOxRenderFailed, wait);
    ExpectRefusal(trials, "setRegion(null)", suite.setRegion(nullptr, nullptr, region.get()), 0,
                  region);
    float value = 0;
    ExpectRefusal<std::int64_t>(trials, "readLayer(null)",
                                suite.readLayer(nullptr, 0, &value, 1, read.get()), -1, read);
    ExpectRefusal(trials, "applyChanges(null)", suite.applyChanges(nullptr, nullptr, changes.get()),
                  0, changes);
    const OxRenderJob_v2 rootless = JobOf(nullptr);
    if (OxRenderStruct* const render = suite.start(&rootless, job.get())) {
        suite.wait(render, -1, nullptr);
        suite.release(render);
        trials.fault("a job without a root is started");
    }
    // Callers may pass null for errors that they do not want.
    suite.wait(nullptr, 0, nullptr);
    suite.setRegion(nullptr, nullptr, nullptr);
    suite.start(&rootless, nullptr);
}

void CheckLayers(const RendererTrials& trials) {
    const auto scene = TELLAR::Scene::FromDescription(SceneOfEverything());
    const LocationHandle root(scene->getRoot(), IteratorSuite3());
    const RenderObject render(SuiteOf(trials), JobOf(root.get()));
    render.waitUntilDone();
    const std::int64_t count = SuiteOf(trials).getNumberOfLayers(render.get());
    if (count < 1) trials.note("a render that is done has no layers");
    for (std::int64_t i = 0; i < count; ++i)
        CheckLayer(trials, render.get(), i);
    CheckAbsentLayer(trials, render.get(), count);
    CheckAbsentLayer(trials, render.get(), -1);
}

void CheckPauseAndRegion(const RendererTrials& trials) {
    const OxRendererPluginSuite_v2& suite = SuiteOf(trials);
    const auto scene = TELLAR::Scene::FromDescription(SceneOfEverything());
    const LocationHandle root(scene->getRoot(), IteratorSuite3());
    {
        const RenderObject render(suite, JobOf(root.get()));
        suite.pause(render.get());
        const OxPixelRegion half = {0, 0, 24, 32};
        ErrorOut refused;
        if (!suite.setRegion(render.get(), &half, refused.get()) && refused.text().empty())
            trials.fault("a region is refused without an error that tells why");
        suite.resume(render.get());
        render.waitUntilDone();
        const OxPixelRegion outside = {5000, 5000, 10, 10};
        ErrorOut error;
        ExpectRefusal(trials, "a region outside of the picture",
                      suite.setRegion(render.get(), &outside, error.get()), 0, error);
    }
    const RenderObject paused(suite, JobOf(root.get()));
    suite.pause(paused.get());
    suite.request(paused.get(), kOxRenderCancel);
    const int status = suite.wait(paused.get(), -1, nullptr);
    if (status != kOxRenderCancelled && status != kOxRenderDone)
        trials.fault("a paused render that is cancelled ends with " + NameOfStatus(status));
    // Released while it rests and while it draws.
    const RenderObject forgotten(suite, JobOf(root.get()));
    suite.pause(forgotten.get());
    const RenderObject abandoned(suite, JobOf(root.get()));
}

void CheckTwoAtOnce(const RendererTrials& trials) {
    const std::vector<GroupAttribute> scenes = {SceneOfEverything(), SceneWithoutShapes(),
                                                SceneOfEverything(), SceneOfOddNames()};
    std::vector<std::string> alone;
    alone.reserve(scenes.size());
    for (const GroupAttribute& scene : scenes)
        alone.push_back(trials.repeatable(scene));
    std::vector<std::string> together(scenes.size());
    std::vector<std::exception_ptr> errors(scenes.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < scenes.size(); ++i)
        threads.emplace_back([&, i] {
            try {
                const std::string what = "one of four renders at once";
                together[i] = trials.judge(what, trials.trialOf(scenes[i]), true).content;
            } catch (...) {
                errors[i] = std::current_exception();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        if (errors[i]) std::rethrow_exception(errors[i]);
        if (!alone[i].empty() && together[i] != alone[i])
            trials.fault("a render draws something else when others run at the same time");
    }
}

void CheckEdits(const RendererTrials& trials) {
    const OxRendererPluginSuite_v2& suite = SuiteOf(trials);
    const EditedScene edited(LiveScene(), trials.subject.fileNamed("scene.json"));
    OxRenderJob_v2 job = JobOf(edited.getRoot());
    job.isLive = 1;
    const RenderObject render(suite, job);
    render.waitUntilDone();
    for (const Step& step : Steps()) {
        edited.edit(step.fill);
        ErrorOut error;
        const ReceivedChanges changes(edited);
        if (!suite.applyChanges(render.get(), changes.get(), error.get())) {
            if (error.text().empty())
                trials.fault(std::string(step.name) + ": is refused without a reason");
            else
                trials.note(std::string(step.name) + ": is refused: " + error.text());
            return;
        }
        render.waitUntilDone();
        const auto fresh = TELLAR::Scene::FromDescription(edited.getDescription());
        const LocationHandle root(fresh->getRoot(), IteratorSuite3());
        const RenderObject anew(suite, JobOf(root.get()));
        anew.waitUntilDone();
        if (render.content() != anew.content())
            trials.note(std::string(step.name) + ": the picture is not that of a new render");
    }
}

} // namespace TellarTool
