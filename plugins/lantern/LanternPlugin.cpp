// The entry points of the plug-in "lantern": read the scene, draw it, write the picture.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "Report.h"
#include "drawing/Draw.h"
#include "drawing/Picture.h"
#include "reading/ReadScene.h"
#include "reading/Suites.h"

namespace lantern {
namespace {

std::atomic<const OxPluginHost*> currentHost{nullptr};

int SetHost(OxPluginHost* host) {
    currentHost = host;
    return 0;
}

const OxPluginHost& GetHost() {
    const OxPluginHost* const host = currentHost;
    if (!host) throw RenderError("there is no plug-in host");
    return *host;
}

/// Turns exceptions into messages and a status. No exception leaves the plug-in.
template <typename Work>
int Run(Report& report, Work work) {
    try {
        work();
        return kOxRenderDone;
    } catch (const Cancelled&) {
        return kOxRenderCancelled;
    } catch (const std::bad_alloc&) {
        report.error("there is not enough memory");
    } catch (const std::exception& error) {
        report.error(error.what());
    } catch (...) {
        report.error("an error without a name");
    }
    return kOxRenderFailed;
}

void RenderJob(const OxRenderJob_v1& job, Report& report) {
    if (!job.root) throw RenderError("there is no scene to render");
    if (!job.picture) throw RenderError("there is no path for the picture");
    const OxPluginHost& host = GetHost();
    const std::string path = GetTilePath(Suites(host), job.root, job.picture);
    CheckPicturePath(path);
    const SceneData scene = ReadScene(host, job.root, {job.frame, job.threads}, report);
    const Picture picture = Draw(scene, {job.samples, job.threads}, report);
    report.throwIfCancelled();
    WritePicture(path, picture);
    report.picture(path);
}

int Render(const OxRenderJob_v1* job) {
    if (!job) return kOxRenderFailed;
    Report report(job->listener);
    return Run(report, [&] { RenderJob(*job, report); });
}

int Stitch(const char* const* tiles, std::int64_t count, const char* picture,
           const OxRenderListener_v1* listener) {
    Report report(listener ? *listener : OxRenderListener_v1{});
    return Run(report, [&] {
        if (!tiles || count < 1) throw RenderError("there are no tiles to stitch");
        if (!picture) throw RenderError("there is no path for the picture");
        std::vector<std::string> paths;
        for (std::int64_t i = 0; i < count; ++i)
            paths.emplace_back(tiles[i] ? tiles[i] : "");
        CheckPicturePath(picture);
        StitchPictures(paths, picture, report);
        report.picture(picture);
    });
}

const void* GetSuite() {
    static const OxRendererPluginSuite_v1 suite = {Render, Stitch};
    return &suite;
}

const OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                   "lantern",
                                   OX_RENDERER_API,
                                   OX_RENDERER_API_VERSION,
                                   1,
                                   0,
                                   GetSuite,
                                   SetHost,
                                   nullptr};

} // namespace
} // namespace lantern

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &lantern::kRecord : nullptr;
}
