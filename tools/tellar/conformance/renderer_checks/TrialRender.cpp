#include "TrialRender.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/PluginManager.h>

#include "HostSuites.h"
#include "LocationHandle.h"
#include "RenderObject.h"
#include "WatchedOp.h"

namespace TellarTool {

namespace {

using OxPluginManager::PluginManager;

constexpr double kSecondsBetweenLooks = 0.005;
// The longest time that a moment lasts. A renderer of version 1 may ask for the wish on the very
// thread that waits.
constexpr std::chrono::milliseconds kLongestMoment1(20);
constexpr std::chrono::milliseconds kLongestMoment2(1000);

/// Counts the moments of a render, and knows the wish of its caller.
class Moments {
public:
    /// The moment of the wish lasts until the wish has been passed on to the renderer, but not
    /// longer than `longest`, since the renderer may wait for the thread whose moment it is.
    Moments(const WishAt& wishAt, std::chrono::milliseconds longest)
        : wishAt(wishAt), longest(longest) {}

    /// Called by the threads of the renderer.
    void next() {
        std::unique_lock<std::mutex> guard(lock);
        if (++count != wishAt.moment) return;
        isWished = true;
        passedOn.wait_for(guard, longest, [this] { return isPassedOn; });
    }

    /// The present wish, for a renderer that asks.
    int ask() {
        const std::lock_guard<std::mutex> guard(lock);
        if (!isWished) return kOxRenderGoOn;
        isPassedOn = true;
        passedOn.notify_all();
        return wishAt.wish;
    }

    std::int64_t getCount() {
        const std::lock_guard<std::mutex> guard(lock);
        return count;
    }

private:
    const WishAt wishAt;
    const std::chrono::milliseconds longest;
    std::mutex lock; // guards the members below
    std::condition_variable passedOn;
    std::int64_t count = 0;
    bool isWished = false;
    bool isPassedOn = false;
};

/// While it lives, cooks count as moments.
class CookWatch {
public:
    CookWatch(bool isWanted, Moments& moments) : isWanted(isWanted) {
        if (isWanted) WatchCooks([&moments](const std::string&) { moments.next(); });
    }
    ~CookWatch() {
        if (isWanted) WatchCooks(nullptr);
    }
    CookWatch(const CookWatch&) = delete;
    CookWatch& operator=(const CookWatch&) = delete;

private:
    const bool isWanted;
};

/// The user of a listener's functions, which are called one at a time.
struct Listener {
    TrialResult& result;
    Moments& moments;

    void takeMessage(int level, const char* message) {
        const std::string text = message ? message : "";
        if (level >= kOxLogError) result.error = text;
        if (level == kOxLogWarn) result.warnings.push_back(text);
        moments.next();
    }
    void takePicture(const char* path) {
        result.pictures.emplace_back(path ? path : "");
        moments.next();
    }
};

Listener& ListenerOf(void* user) {
    return *static_cast<Listener*>(user);
}

template <typename Functions>
void SetFunctions(Functions& functions, Listener& listener) {
    functions.onProgress = [](double, const char*, void* user) { ListenerOf(user).moments.next(); };
    functions.onMessage = [](std::int32_t level, const char* message, void* user) {
        ListenerOf(user).takeMessage(level, message);
    };
    functions.onPicture = [](const char* path, void* user) { ListenerOf(user).takePicture(path); };
    functions.user = &listener;
}

// Version 1 ---------------------------------------------------------------------------------------

void RenderBy(const OxRendererPluginSuite_v1& suite, OxSgIteratorStruct* root, const Trial& trial,
              Moments& moments, TrialResult& result) {
    Listener listener{result, moments};
    OxRenderJob_v1 job{};
    job.root = root;
    job.picture = trial.picture.c_str();
    job.samples = 1;
    job.threads = trial.threads;
    if (!trial.isWithoutListener) {
        SetFunctions(job.listener, listener);
        job.listener.isCancelled = [](void* user) { return ListenerOf(user).moments.ask(); };
    }
    result.status = suite.render(&job);
    result.content = ContentOfFile(trial.picture);
}

// Version 2 ---------------------------------------------------------------------------------------

/// Waits for the end of the render, and passes the wish on to it.
void WaitForEnd(const OxRendererPluginSuite_v2& suite, OxRenderStruct* render, Moments& moments,
                TrialResult& result) {
    do {
        const int wish = moments.ask();
        if (wish != kOxRenderGoOn) suite.request(render, wish);
        ErrorOut error;
        result.status = suite.wait(render, kSecondsBetweenLooks, error.get());
        if (!error.isEmpty()) result.error = error.text();
    } while (result.status == kOxRenderRunning);
}

void RenderBy(const OxRendererPluginSuite_v2& suite, OxSgIteratorStruct* root, const Trial& trial,
              Moments& moments, TrialResult& result) {
    Listener listener{result, moments};
    OxRenderJob_v2 job{};
    job.size = sizeof job;
    job.root = root;
    job.picture = trial.picture.c_str();
    job.samples = 1;
    job.threads = trial.threads;
    job.listener.size = sizeof job.listener;
    if (!trial.isWithoutListener) {
        SetFunctions(job.listener, listener);
        job.listener.onPixels = [](const OxPixelRegion*, void* user) {
            ListenerOf(user).moments.next();
        };
    }
    ErrorOut error;
    const std::unique_ptr<OxRenderStruct, void (*)(OxRenderStruct*)> render(
        suite.start(&job, error.get()), suite.release);
    if (!render) {
        result.error = error.text();
        return;
    }
    WaitForEnd(suite, render.get(), moments, result);
    if (result.status == kOxRenderDone) result.content = ContentOf(suite, render.get());
    if (result.content.empty()) result.content = ContentOfFile(trial.picture);
}

} // namespace

template <typename Suite>
const Suite& RendererSuite(const Subject& subject, unsigned int version) {
    const auto plugin = PluginManager::getPlugin(subject.name, subject.api, version);
    const void* const suite = PluginManager::getPluginSuite(plugin);
    if (!suite) throw std::runtime_error("the plug-in gives no suite");
    return *static_cast<const Suite*>(suite);
}

template const OxRendererPluginSuite_v1& RendererSuite(const Subject&, unsigned int);
template const OxRendererPluginSuite_v2& RendererSuite(const Subject&, unsigned int);

TrialResult RunTrial(const Subject& subject, unsigned int version, const Trial& trial) {
    const auto scene = TELLAR::Scene::FromDescription(trial.scene);
    const LocationHandle root(scene->getRoot(), IteratorSuite3());
    const bool isVersion1 = version == OX_RENDERER_API_VERSION;
    Moments moments(trial.wishAt, isVersion1 ? kLongestMoment1 : kLongestMoment2);
    TrialResult result;
    const CookWatch watch(trial.isWatched, moments);
    if (isVersion1)
        RenderBy(RendererSuite<OxRendererPluginSuite_v1>(subject, version), root.get(), trial,
                 moments, result);
    else
        RenderBy(RendererSuite<OxRendererPluginSuite_v2>(subject, version), root.get(), trial,
                 moments, result);
    result.moments = moments.getCount();
    return result;
}

std::string ContentOfFile(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) return {};
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string NameOfStatus(int status) {
    switch (status) {
    case kOxRenderDone:
        return "kOxRenderDone";
    case kOxRenderFailed:
        return "kOxRenderFailed";
    case kOxRenderCancelled:
        return "kOxRenderCancelled";
    case kOxRenderStopped:
        return "kOxRenderStopped";
    default:
        return "the unknown status " + std::to_string(status);
    }
}

} // namespace TellarTool
