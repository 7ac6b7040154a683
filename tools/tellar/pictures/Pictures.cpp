#include "Pictures.h"

#include <cmath>
#include <memory>
#include <stdexcept>

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarSDK/CookObserver.h>

#include "CookErrors.h"
#include "FrameRange.h"
#include "LocationHandle.h"
#include "NumberText.h"
#include "Output.h"
#include "PictureTarget.h"
#include "ProblemOrigin.h"
#include "RendererRun.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;

constexpr float kMostFrame = 1e9f; // frame numbers have to fit into an int

RendererTask TaskOf(const Picture& picture, std::size_t index, const Drawing& drawing,
                    const LocationHandle& root, const CookErrors& errors) {
    const auto target = std::make_shared<PictureTarget>(picture.path);
    RendererTask task;
    task.name = picture.task;
    task.work = [&, target, index](const OxRenderListener_v1& listener) {
        if (drawing.onBegin) drawing.onBegin(index);
        OxRenderJob_v1 job{};
        job.root = root.get();
        job.picture = target->getPath().c_str();
        job.frame = picture.frame;
        job.samples = picture.samples;
        job.threads = drawing.threads;
        job.listener = listener;
        return drawing.renderer.render(job);
    };
    if (drawing.isStrict) task.failure = [&errors] { return errors.getFirst(); };
    if (drawing.client)
        task.explain = [client = drawing.client](const std::string& warning) {
            return OriginOfProblem(client, warning);
        };
    task.deliver = [target, isSilent = drawing.isSilent](const std::string& written) {
        isSilent ? target->store(written) : target->deliver(written);
    };
    return task;
}

} // namespace

Picture PictureOfFrame(const std::string& path, float frame) {
    const bool isWhole = frame == std::floor(frame) && std::abs(frame) < kMostFrame;
    const auto numbered = WithFrame(path, isWhole ? static_cast<int>(frame) : 0);
    if (numbered && !isWhole)
        throw std::runtime_error("-o: \"" + path +
                                 "\" has a place for the number of a frame, and " +
                                 NumberText(frame) + " is no whole number");
    return {frame, numbered.value_or(path), {}};
}

std::vector<Picture> PicturesOfFrames(const std::string& path, const std::vector<float>& frames) {
    std::vector<Picture> pictures;
    for (const float frame : frames) {
        pictures.push_back(PictureOfFrame(path, frame));
        pictures.back().task = "frame " + NumberText(frame);
    }
    if (pictures.size() > 1 && pictures.back().path == path)
        throw std::runtime_error("-o: \"" + path +
                                 "\" has no place for the number of a frame, such as #### or %04d");
    return pictures;
}

std::size_t DrawPictures(const Drawing& drawing, const GeometryProducer::Ptr& root,
                         const std::vector<Picture>& pictures) {
    const LocationHandle handle(root);
    const auto errors = std::make_shared<CookErrors>(
        drawing.client ? drawing.client->getOp()->getIdentity() : OxAttribute::Hash());
    const OxOpType::CookObservation observation(errors);
    std::vector<RendererTask> tasks;
    tasks.reserve(pictures.size());
    for (std::size_t i = 0; i < pictures.size(); ++i)
        tasks.push_back(TaskOf(pictures[i], i, drawing, handle, *errors));
    RunRenderer(drawing.renderer.getName(), drawing.isVerbose, tasks);
    const std::size_t failed = errors->getCount();
    if (failed > 0) WriteErrorLine(CountText(failed));
    return failed;
}

} // namespace TellarTool
