#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/CookObserver.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>
#include <nanobind/stl/filesystem.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>

#include "Arguments.h"
#include "Classes.h"
#include "CookErrors.h"
#include "LocationHandle.h"
#include "ReadyScene.h"
#include "Renderers.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using TellarTool::CookErrors;
using TellarTool::StudioUse;

constexpr std::chrono::milliseconds kBetweenLooks(50); // at progress, and at Ctrl-C

/// The news of a renderer since somebody looked.
struct News {
    double fraction = 0;
    std::string step;
    std::vector<std::string> warnings;
    bool isNewProgress = false;
};

/// A picture to be drawn, as Python asks for it.
struct Request {
    std::shared_ptr<TELLAR::Scene> scene;
    std::string picture;
    std::string renderer;
    OxAttribute::GroupAttribute settings;
    StudioUse light = StudioUse::WhereDark;
    float frame = 0;
    std::int32_t samples = 0;
    std::int32_t threads = 0;
    bool isStrict = false;
};

/// One render on a thread of its own, so that the caller's thread can look at Python's signals and
/// call Python's functions.
class Render {
public:
    explicit Render(Request wanted) : request(std::move(wanted)), worker([this] { work(); }) {}
    ~Render() {
        isCancelled = true;
        worker.join();
    }
    Render(const Render&) = delete;
    Render& operator=(const Render&) = delete;

    /// Waits a moment. Returns true when the render is over. Needs no lock of the interpreter.
    bool wait(News& news) {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, kBetweenLooks, [this] { return isDone; });
        news = std::exchange(latest, {});
        return isDone;
    }

    /// After the end: throws what failed. Returns the number of locations that could not be cooked.
    std::size_t finish() {
        const std::lock_guard lock(mutex);
        if (failure) std::rethrow_exception(failure);
        return failedLocations;
    }

    const std::string& getPicture() const { return written; }

private:
    void work() {
        std::exception_ptr error;
        try {
            draw();
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard lock(mutex);
        failure = error;
        isDone = true;
        changed.notify_all();
    }

    void draw() {
        TellarTool::AddRendererFolder();
        const TellarTool::Renderer renderer = FindRenderer();
        TellarTool::Scene scene(request.scene, "the scene");
        if (request.settings.getNumberOfChildren() > 0)
            scene = scene.withRenderSettings(request.settings);
        const TellarTool::ReadyScene ready = MakeReady(scene, {request.frame}, request.light);
        const auto root = ready.scene.at("/root");
        errors = std::make_shared<CookErrors>(ready.scene.getClient()->getOp()->getIdentity());
        const OxOpType::CookObservation observation(errors);
        const TellarTool::LocationHandle handle(root);
        const int status = renderer.render(JobFor(handle));
        if (request.isStrict && errors->getFirst())
            throw TellarError(kOxErrorCook, *errors->getFirst());
        if (status != kOxRenderDone)
            throw TellarError(status == kOxRenderFailed ? kOxErrorUnknown : kOxErrorCancelled,
                              lastError.empty() ? "the renderer \"" + request.renderer +
                                                      "\" has not drawn the picture"
                                                : lastError);
        failedLocations = errors->getCount();
    }

    /// Without the name of the command's option in the error.
    TellarTool::Renderer FindRenderer() const {
        constexpr std::string_view kOption = "--renderer: ";
        try {
            return TellarTool::Renderer(request.renderer);
        } catch (const std::runtime_error& error) {
            std::string text = error.what();
            if (text.compare(0, kOption.size(), kOption) == 0) text.erase(0, kOption.size());
            throw TellarError(kOxErrorBadCall, text);
        }
    }

    OxRenderJob_v1 JobFor(const TellarTool::LocationHandle& root) {
        OxRenderJob_v1 job{};
        job.root = root.get();
        job.picture = request.picture.c_str();
        job.frame = request.frame;
        job.samples = request.samples;
        job.threads = request.threads;
        job.listener.user = this;
        job.listener.onProgress = [](double fraction, const char* what, void* self) {
            static_cast<Render*>(self)->progress(fraction, what ? what : "");
        };
        job.listener.onMessage = [](int level, const char* text, void* self) {
            static_cast<Render*>(self)->message(level, text ? text : "");
        };
        job.listener.onPicture = [](const char* path, void* self) {
            static_cast<Render*>(self)->written = path ? path : "";
        };
        job.listener.isCancelled = [](void* self) -> int {
            return static_cast<const Render*>(self)->isOver() ? kOxRenderCancel : kOxRenderGoOn;
        };
        return job;
    }

    bool isOver() const { return isCancelled || (request.isStrict && errors->getCount() > 0); }

    void progress(double fraction, const char* what) {
        const std::lock_guard lock(mutex);
        latest.fraction = fraction;
        latest.step = what;
        latest.isNewProgress = true;
    }

    void message(int level, const char* text) {
        const std::lock_guard lock(mutex);
        if (level > kOxLogWarn) lastError = text;
        if (level == kOxLogWarn) latest.warnings.emplace_back(text);
    }

    const Request request;
    std::shared_ptr<CookErrors> errors; // of the drawing
    std::atomic<bool> isCancelled{false};
    std::string written;   // of the working thread, until it is done
    std::string lastError; // likewise; renderers call one at a time
    std::size_t failedLocations = 0;

    std::mutex mutex; // guards the members below
    std::condition_variable changed;
    News latest;
    bool isDone = false;
    std::exception_ptr failure;

    std::thread worker; // uses all of the above
};

StudioUse LightOf(const std::string& name) {
    if (name == "auto") return StudioUse::WhereDark;
    if (name == "studio") return StudioUse::Always;
    if (name == "scene") return StudioUse::Never;
    throw TellarError(kOxErrorBadCall,
                      "light is \"auto\", \"studio\" or \"scene\", not \"" + name + "\"");
}

/// Waits for the end of a render. Python's functions are called on the caller's thread. Any
/// exception of theirs, and of Python's signal handlers, cancels the render.
void WaitFor(Render& render, const nb::object& onProgress, const nb::object& onWarning) {
    bool isDone = false;
    while (!isDone) {
        News news;
        isDone = Unlocked([&] { return render.wait(news); });
        if (PyErr_CheckSignals() != 0) throw nb::python_error();
        for (const std::string& warning : news.warnings)
            onWarning(TextOf(warning));
        if (news.isNewProgress && !onProgress.is_none())
            onProgress(news.fraction, TextOf(news.step));
    }
}

nb::object Draw(const std::shared_ptr<TELLAR::Scene>& scene, const std::filesystem::path& picture,
                const std::string& renderer, nb::handle settings, const std::string& light,
                float frame, int samples, int threads, bool isStrict, nb::object onProgress,
                nb::object onWarning) {
    if (samples < 0 || threads < 0)
        throw TellarError(kOxErrorBadCall, "samples and threads must not be negative");
    Request request{
        scene,   picture.string(), renderer, GroupFrom(settings, true), LightOf(light), frame,
        samples, threads,          isStrict};
    auto render = std::make_unique<Render>(std::move(request));
    std::size_t failed = 0;
    std::string written;
    try {
        WaitFor(*render, onProgress, onWarning);
        failed = render->finish();
        written = render->getPicture();
    } catch (...) {
        Unlocked([&] { render.reset(); });
        throw;
    }
    Unlocked([&] { render.reset(); });
    return nb::make_tuple(TextOf(written), failed);
}

} // namespace

void AddRendering(nb::module_& module) {
    module.def("render", Draw, "scene"_a, "picture"_a, "renderer"_a, "settings"_a, "light"_a,
               "frame"_a, "samples"_a, "threads"_a, "strict"_a, "on_progress"_a.none(),
               "on_warning"_a,
               nb::sig("def render(scene: Scene, picture: str | os.PathLike[str], renderer: str, "
                       "settings: Mapping[str, AttributeLike], light: str, frame: float, "
                       "samples: int, threads: int, strict: bool, "
                       "on_progress: Callable[[float, str], object] | None, "
                       "on_warning: Callable[[str], object]) -> tuple[str, int]"),
               "The engine of :func:`tellar.render`. Returns the path that was written and the\n"
               "number of locations that could not be computed.");
}

} // namespace TellarPython
