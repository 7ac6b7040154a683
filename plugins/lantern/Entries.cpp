#include "Entries.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <OxTellarSDK/AttributeSuite4.h>

#include "Render.h"
#include "Report.h"
#include "drawing/Picture.h"

/// A render as callers of version 2 hold it.
struct OxRenderStruct {
    lantern::Render render;
};

namespace lantern {
namespace {

std::atomic<const OxPluginHost*> currentHost{nullptr};

const OxPluginHost& GetHost() {
    const OxPluginHost* const host = currentHost;
    if (!host) throw RenderError("there is no plug-in host");
    return *host;
}

// Errors ------------------------------------------------------------------------------------------

/// The exception as an error for the user.
RenderError Explain(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const RenderError& error) {
        return error;
    } catch (const Cancelled&) {
        return RenderError("the render was cancelled", kOxErrorCancelled);
    } catch (const std::bad_alloc&) {
        return RenderError("there is not enough memory", kOxErrorMemory);
    } catch (const std::exception& error) {
        return RenderError(error.what());
    } catch (...) {
        return RenderError("an error without a name");
    }
}

/// A new error of the host, or null if the host cannot make one.
OxErrorStruct* HostErrorOf(const RenderError& error) {
    const OxPluginHost* const host = currentHost;
    const auto* const suite = static_cast<const OxAttributeSuite_v4*>(
        host ? host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4) : nullptr);
    if (!suite) return nullptr;
    const OxErrorFacts facts{error.code,           error.what(),           error.op.c_str(),
                             error.opType.c_str(), error.location.c_str(), error.attribute.c_str(),
                             error.file.c_str()};
    return suite->createError(&facts);
}

void Assign(OxErrorStruct** error, const std::exception_ptr& failure) {
    if (!error) return;
    try {
        *error = failure ? HostErrorOf(Explain(failure)) : nullptr;
    } catch (...) { // no memory for the texts
        *error = nullptr;
    }
}

/// Returns the result of the work, or `otherwise` after an exception, which becomes *error.
template <typename Result, typename Work>
Result Guarded(OxErrorStruct** error, Result otherwise, Work work) {
    try {
        const Result result = work();
        Assign(error, nullptr);
        return result;
    } catch (...) {
        Assign(error, std::current_exception());
        return otherwise;
    }
}

Render& Checked(OxRenderStruct* render) {
    if (!render) throw RenderError("there is no render", kOxErrorBadCall);
    return render->render;
}

void StitchTiles(const char* const* tiles, std::int64_t count, const char* picture,
                 Report& report) {
    if (!tiles || count < 1) throw RenderError("there are no tiles to stitch", kOxErrorBadCall);
    if (!picture) throw RenderError("there is no path for the picture", kOxErrorBadCall);
    std::vector<std::string> paths;
    for (std::int64_t i = 0; i < count; ++i)
        paths.emplace_back(tiles[i] ? tiles[i] : "");
    CheckPicturePath(picture);
    StitchPictures(paths, picture, report);
    report.picture(picture);
}

// Version 2 ---------------------------------------------------------------------------------------

OxRenderStruct* Start(const OxRenderJob_v2* given, OxErrorStruct** error) {
    return Guarded<OxRenderStruct*>(error, nullptr, [&] {
        if (!given || given->size < sizeof *given)
            throw RenderError("the job has no valid size", kOxErrorBadCall);
        const std::uint32_t listenerSize = given->listener.size; // 0 means no listener
        if (listenerSize != 0 && listenerSize < sizeof given->listener)
            throw RenderError("the listener has no valid size", kOxErrorBadCall);
        const RenderJob job{given->root,    given->picture,     given->frame, given->samples,
                            given->threads, given->isLive != 0, given->region};
        const OxRenderListener_v2 listener = listenerSize ? given->listener : OxRenderListener_v2{};
        return new OxRenderStruct{{GetHost(), job, listener}};
    });
}

void Release(OxRenderStruct* render) {
    delete render;
}

std::int32_t Wait(OxRenderStruct* render, double seconds, OxErrorStruct** error) {
    return Guarded<std::int32_t>(error, kOxRenderFailed, [&] {
        Render& waited = Checked(render);
        const int status = waited.wait(seconds);
        if (status == kOxRenderFailed) std::rethrow_exception(waited.failure());
        return status;
    });
}

void Request(OxRenderStruct* render, std::int32_t wish) {
    if (!render || (wish != kOxRenderCancel && wish != kOxRenderFinish)) return;
    render->render.request(static_cast<OxRenderWish>(wish));
}

void Pause(OxRenderStruct* render) {
    if (render) render->render.pause();
}

void Resume(OxRenderStruct* render) {
    if (render) render->render.resume();
}

std::int32_t SetRegion(OxRenderStruct* render, const OxPixelRegion* region, OxErrorStruct** error) {
    return Guarded<std::int32_t>(error, 0, [&] {
        Checked(render).setRegion(region ? *region : OxPixelRegion{0, 0, 0, 0});
        return 1;
    });
}

std::int64_t GetNumberOfLayers(OxRenderStruct* render) {
    return render ? render->render.layerCount() : 0;
}

std::int32_t GetLayer(OxRenderStruct* render, std::int64_t index, OxRenderLayer* layer) {
    const Render::Layer* const found = render ? render->render.layer(index) : nullptr;
    if (!found || !layer) return 0;
    *layer = {found->name.c_str(), found->channels.c_str(), found->channelCount,
              found->isInteger ? 1 : 0, found->region};
    return 1;
}

std::int64_t ReadLayer(OxRenderStruct* render, std::int64_t index, float* values,
                       std::int64_t count, OxErrorStruct** error) {
    return Guarded<std::int64_t>(error, -1,
                                 [&] { return Checked(render).readLayer(index, values, count); });
}

std::int32_t ApplyChanges(OxRenderStruct* render, const OxChangesStruct* changes,
                          OxErrorStruct** error) {
    return Guarded<std::int32_t>(error, 0, [&] {
        Checked(render).applyChanges(changes);
        return 1;
    });
}

std::int32_t Stitch2(const char* const* tiles, std::int64_t count, const char* picture,
                     const OxRenderListener_v2* listener, OxErrorStruct** error) {
    return Guarded<std::int32_t>(error, kOxRenderFailed, [&]() -> std::int32_t {
        Report report(listener ? *listener : OxRenderListener_v2{});
        try {
            StitchTiles(tiles, count, picture, report);
        } catch (const Cancelled&) {
            return kOxRenderCancelled;
        }
        return kOxRenderDone;
    });
}

// Version 1 ---------------------------------------------------------------------------------------

/// Tells the failure as a message and returns the status of it.
int Tell(Report& report, const std::exception_ptr& failure) {
    try {
        const RenderError error = Explain(failure);
        if (error.code == kOxErrorCancelled) return kOxRenderCancelled;
        report.error(error.what());
    } catch (...) { // no memory for the message
    }
    return kOxRenderFailed;
}

int RenderOnce(const OxRenderJob_v1* given) {
    if (!given) return kOxRenderFailed;
    Report report(given->listener);
    try {
        if (!given->root) throw RenderError("there is no scene to render");
        if (!given->picture) throw RenderError("there is no path for the picture");
        RenderJob job;
        job.root = given->root;
        job.picture = given->picture;
        job.frame = given->frame;
        job.samples = given->samples;
        job.threads = given->threads;
        Render render(GetHost(), job, given->listener);
        const int status = render.wait(-1);
        return status == kOxRenderFailed ? Tell(report, render.failure()) : status;
    } catch (...) {
        return Tell(report, std::current_exception());
    }
}

int Stitch1(const char* const* tiles, std::int64_t count, const char* picture,
            const OxRenderListener_v1* listener) {
    Report report(listener ? *listener : OxRenderListener_v1{});
    try {
        StitchTiles(tiles, count, picture, report);
        return kOxRenderDone;
    } catch (...) {
        return Tell(report, std::current_exception());
    }
}

} // namespace

int SetHost(OxPluginHost* host) {
    currentHost = host;
    return 0;
}

const void* GetSuite1() {
    static const OxRendererPluginSuite_v1 suite = {RenderOnce, Stitch1};
    return &suite;
}

const void* GetSuite2() {
    static const OxRendererPluginSuite_v2 suite = {sizeof(OxRendererPluginSuite_v2),
                                                   OX_RENDERER_API_VERSION_2,
                                                   Start,
                                                   Release,
                                                   Wait,
                                                   Request,
                                                   Pause,
                                                   Resume,
                                                   SetRegion,
                                                   GetNumberOfLayers,
                                                   GetLayer,
                                                   ReadLayer,
                                                   ApplyChanges,
                                                   Stitch2};
    return &suite;
}

} // namespace lantern
