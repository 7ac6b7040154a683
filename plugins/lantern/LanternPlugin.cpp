// The entry points of the plug-in "lantern": read the scene, draw it, write the picture.

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
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
#include "reading/ReadLayers.h"
#include "reading/ReadScene.h"
#include "reading/Suites.h"
#include "tessellation/Tessellate.h"

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
        return work();
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

/// Assigns the time that the render took, and its date in UTC. With the environment variable
/// SOURCE_DATE_EPOCH it has that date and took no time, so that equal renders give equal files.
void StampTime(std::chrono::steady_clock::time_point begin, PictureFacts& facts) {
    std::time_t date = std::time(nullptr);
    facts.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    if (const char* const given = std::getenv("SOURCE_DATE_EPOCH")) {
        date = static_cast<std::time_t>(std::strtoll(given, nullptr, 10));
        facts.seconds = 0;
    }
    std::tm parts{};
    std::array<char, 64> text{};
    if (gmtime_r(&date, &parts) && parts.tm_year < 8100 && parts.tm_year >= 0 &&
        std::strftime(text.data(), text.size(), "%Y:%m:%d %H:%M:%S", &parts) > 0)
        facts.date = text.data();
}

OxRenderStatus RenderJob(const OxRenderJob_v1& job, Report& report) {
    const auto begin = std::chrono::steady_clock::now();
    if (!job.root) throw RenderError("there is no scene to render");
    if (!job.picture) throw RenderError("there is no path for the picture");
    const OxPluginHost& host = GetHost();
    const Suites suites(host);
    const std::string path = GetTilePath(suites, job.root, job.picture);
    CheckPicturePath(path, ReadLayers(Location::retaining(suites, job.root)).any());
    SceneData scene = ReadScene(host, job.root, {job.frame, job.threads}, report);
    TessellateSubdivisions(scene, job.threads, report);
    Picture picture = Draw(scene, {job.samples, job.threads, begin}, report);
    if (!report.isAskedToFinish()) report.throwIfCancelled();
    StampTime(begin, picture.facts);
    WritePicture(path, picture);
    report.picture(path);
    return picture.isComplete ? kOxRenderDone : kOxRenderStopped;
}

int Render(const OxRenderJob_v1* job) {
    if (!job) return kOxRenderFailed;
    Report report(job->listener);
    return Run(report, [&] { return RenderJob(*job, report); });
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
        return kOxRenderDone;
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
