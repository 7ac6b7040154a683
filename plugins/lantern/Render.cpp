#include "Render.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "drawing/Picture.h"
#include "reading/HostError.h"
#include "reading/ReadLayers.h"
#include "reading/ReadScene.h"
#include "reading/Settings.h"
#include "reading/ViewChanges.h"
#include "tessellation/Tessellate.h"

namespace lantern {
namespace {

constexpr double kLongestWait = 1e6; // seconds; clocks cannot add much more
constexpr int kMostCoordinate = 1 << 30;

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

int EndOf(int begin, int length) {
    return static_cast<int>(
        std::clamp<std::int64_t>(std::int64_t(begin) + length, -kMostCoordinate, kMostCoordinate));
}

Window WindowOf(const OxPixelRegion& region) {
    if (region.width == 0 && region.height == 0)
        return {-kMostCoordinate, -kMostCoordinate, kMostCoordinate, kMostCoordinate};
    return {region.left, region.top, EndOf(region.left, region.width),
            EndOf(region.top, region.height)};
}

OxPixelRegion RegionOf(const Window& window) {
    return {window.x0, window.y0, window.width(), window.height()};
}

void CheckRegion(const Window& region, const Window& picture) {
    if (!region.within(picture).isEmpty()) return;
    throw RenderError("the region has no pixel of the picture", kOxErrorBadCall);
}

/// The root of the revision to which the changes lead.
Location ChangedRoot(const Suites& suites, const OxChangesStruct* changes) {
    HostError error(suites);
    Location root =
        Location::owning(suites, suites.iterators().getChangedRoot(changes, error.slot()));
    error.throwIfSet();
    if (!root) throw RenderError("the scene has no location \"/root\" any more");
    return root;
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ",") + name;
    return text;
}

} // namespace

struct Render::Session {
    /// Prepares the scene to be drawn. `earlier` is null or the geometry of another session, whose
    /// shapes are in this one by now.
    void prepare(const DrawOptions& options, Report& report, const EarlierGeometry* earlier) {
        begin = options.begin;
        drawing.emplace(scene(), options, report, earlier);
        for (const FilmLayer& layer : drawing->film().layers())
            layers.push_back({layer.name, Joined(layer.channels),
                              static_cast<int>(layer.channels.size()), layer.isInteger,
                              RegionOf(scene().framing.window)});
    }

    SceneData& scene() { return read.scene; }
    const SceneData& scene() const { return read.scene; }

    ReadResult read;
    std::string path; // of the file; empty for none
    std::chrono::steady_clock::time_point begin;
    std::optional<Drawing> drawing; // of the scene
    std::vector<Layer> layers;      // those of the drawing's film
};

Render::Render(const OxPluginHost& host, const RenderJob& job, std::unique_ptr<Report> listener)
    : suites(host), frame(job.frame), samples(job.samples), threads(job.threads),
      isLive(job.isLive),
      pictureName(job.picture ? std::optional<std::string>(job.picture) : std::nullopt),
      report(std::move(listener)), region(WindowOf(job.region)),
      root(Location::retaining(suites, job.root)) {
    if (!root) throw RenderError("there is no scene to render", kOxErrorBadCall);
    if (root.hasFailed()) throw root.failure();
    checkedPath(root);
    picture = ReadFraming(suites, root).window;
    CheckRegion(region, picture);
    try {
        thread = std::thread([this] { run(); });
    } catch (const std::system_error& error) {
        throw std::runtime_error(std::string("the thread that renders cannot be started: ") +
                                 error.what());
    }
}

Render::~Render() {
    request(kOxRenderCancel);
    thread.join();
}

// The render's thread -----------------------------------------------------------------------------

void Render::run() noexcept {
    try {
        std::shared_ptr<Session> opened = read(root, nullptr);
        opened->prepare({samples, threads, opened->begin}, *report, nullptr);
        {
            const std::lock_guard<std::mutex> guard(lock);
            session = std::move(opened);
            root = Location();
            changed.notify_all();
        }
        end(drawUntilTheEnd());
    } catch (const Cancelled&) {
        end(kOxRenderCancelled);
    } catch (...) {
        end(kOxRenderFailed, std::current_exception());
    }
}

/// Reads a scene. Shapes that the earlier session has are left empty.
std::shared_ptr<Render::Session> Render::read(const Location& from, const Session* earlier) {
    auto opened = std::make_shared<Session>();
    opened->begin = std::chrono::steady_clock::now();
    opened->read =
        ReadScene(suites, from, {frame, threads}, earlier ? earlier->read : ReadResult(), *report);
    TessellateSubdivisions(opened->scene(), threads, *report);
    opened->path = checkedPath(from);
    return opened;
}

/// The path of the file to write, or an empty one. Throws if it cannot be written.
std::string Render::checkedPath(const Location& from) const {
    if (!pictureName) return {};
    std::string path = GetTilePath(suites, from.get(), pictureName->c_str());
    CheckPicturePath(path, ReadLayers(from).any());
    return path;
}

/// Returns an OxRenderStatus.
int Render::drawUntilTheEnd() {
    for (;;) {
        std::shared_ptr<Session> drawn;
        Window wanted;
        {
            std::unique_lock<std::mutex> guard(lock);
            isParked = true;
            changed.notify_all();
            changed.wait(guard, [this] { return !isParkWanted; });
            isParked = false;
            report->control().clearInterruption();
            drawn = session;
            wanted = region;
        }
        const Drawing::End how = drawn->drawing->run(wanted);
        if (how == Drawing::End::Interrupted) continue;
        deliver(*drawn);
        if (how == Drawing::End::Ended) return kOxRenderStopped;
        drawn.reset();
        if (!isLive || !waitForChange()) return kOxRenderDone;
    }
}

/// Writes the picture and tells the caller.
void Render::deliver(const Session& drawn) {
    Picture picture = drawn.drawing->develop();
    if (!report->isAskedToFinish()) report->throwIfCancelled();
    StampTime(drawn.begin, picture.facts);
    if (drawn.path.empty()) return;
    WritePicture(drawn.path, picture);
    report->picture(drawn.path);
}

/// Marks the picture as complete. Returns false if the render shall end.
bool Render::waitForChange() {
    const RenderControl& control = report->control();
    std::unique_lock<std::mutex> guard(lock);
    if (!control.isInterrupted()) status = kOxRenderDone;
    changed.notify_all();
    changed.wait(guard, [&] { return control.isInterrupted() || control.wish() != kOxRenderGoOn; });
    if (control.wish() != kOxRenderGoOn) return false;
    status = kOxRenderRunning;
    return true;
}

void Render::end(int newStatus, std::exception_ptr newReason) {
    const std::lock_guard<std::mutex> guard(lock);
    status = newStatus;
    reason = std::move(newReason);
    hasEnded = true;
    changed.notify_all();
}

// The caller's threads ----------------------------------------------------------------------------

int Render::wait(double seconds) {
    std::unique_lock<std::mutex> guard(lock);
    const auto isOver = [this] { return status != kOxRenderRunning; };
    if (seconds >= 0)
        changed.wait_for(guard, std::chrono::duration<double>(std::min(seconds, kLongestWait)),
                         isOver);
    else
        changed.wait(guard, isOver);
    return status;
}

std::exception_ptr Render::failure() const {
    const std::lock_guard<std::mutex> guard(lock);
    return reason;
}

void Render::request(OxRenderWish wish) {
    const std::lock_guard<std::mutex> guard(lock);
    report->control().request(wish);
    changed.notify_all();
}

void Render::setRegion(const OxPixelRegion& wanted) {
    const Window window = WindowOf(wanted);
    const std::lock_guard<std::mutex> guard(lock);
    CheckRegion(window, picture);
    throwIfEnded();
    region = window;
    if (session) beginAnew();
}

/// Lets the render's thread draw what is wanted now. The caller holds the lock.
void Render::beginAnew() {
    report->control().interrupt();
    status = kOxRenderRunning;
    changed.notify_all();
}

/// The caller holds the lock.
void Render::throwIfEnded() const {
    if (hasEnded) throw RenderError("the render has ended", kOxErrorBadCall);
}

/// Keeps the render's thread from drawing while it lives.
class Render::ParkedThread {
public:
    explicit ParkedThread(Render& render) : render(render) {
        std::unique_lock<std::mutex> guard(render.lock);
        render.isParkWanted = true;
        render.report->control().interrupt();
        render.changed.notify_all();
        render.changed.wait(guard, [&] { return render.isParked || render.hasEnded; });
    }
    ~ParkedThread() {
        const std::lock_guard<std::mutex> guard(render.lock);
        render.isParkWanted = false;
        render.changed.notify_all();
    }
    ParkedThread(const ParkedThread&) = delete;
    ParkedThread& operator=(const ParkedThread&) = delete;

private:
    Render& render;
};

void Render::applyChanges(const OxChangesStruct* changes) {
    const std::lock_guard<std::mutex> oneAtATime(changing);
    {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [this] { return session || hasEnded; });
        throwIfEnded();
    }
    if (!isLive) throw RenderError("the render is not live", kOxErrorBadCall);
    const std::shared_ptr<Session> earlier = currentSession();
    const Location newRoot = ChangedRoot(suites, changes);
    std::shared_ptr<Session> opened;
    if (ChangeViewAlone(suites, newRoot, changes)) opened = readView(newRoot, *earlier);
    const bool isViewAlone = opened != nullptr;
    if (!isViewAlone) opened = read(newRoot, earlier.get());
    const ParkedThread parked(*this);
    if (isViewAlone)
        takeWorld(*opened, *earlier);
    else
        takeShapes(*opened, *earlier);
    const std::lock_guard<std::mutex> guard(lock);
    throwIfEnded();
    picture = opened->scene().framing.window;
    if (region.within(picture).isEmpty()) region = picture;
    session = std::move(opened);
    beginAnew();
}

/// Reads the view of a scene whose world is that of the earlier session. Null when the world
/// depends on the view: by the shutter, the layers, or subdivision surfaces.
std::shared_ptr<Render::Session> Render::readView(const Location& from, const Session& earlier) {
    const ReadResult& before = earlier.read;
    const bool isSubdivided =
        std::any_of(before.sources.begin(), before.sources.end(),
                    [](const ShapeSource& source) { return source.isSubdivided; });
    if (isSubdivided) return nullptr;
    auto opened = std::make_shared<Session>();
    opened->begin = std::chrono::steady_clock::now();
    Shutter& shutter = opened->read.shutter;
    static_cast<SceneView&>(opened->scene()) = ReadView(suites, from, frame, shutter);
    const bool isSameWorld =
        shutter.open == before.shutter.open && shutter.close == before.shutter.close &&
        opened->scene().layers.needsNames() == before.scene.layers.needsNames();
    if (!isSameWorld) return nullptr;
    opened->path = checkedPath(from);
    return opened;
}

/// Moves the world to the new session, and prepares it. If that fails, the world goes back.
void Render::takeWorld(Session& opened, Session& earlier) {
    std::vector<Index> sources(earlier.scene().shapes.size());
    std::iota(sources.begin(), sources.end(), Index{0});
    const auto swapWorlds = [&] {
        std::swap(static_cast<SceneWorld&>(opened.scene()),
                  static_cast<SceneWorld&>(earlier.scene()));
        std::swap(opened.read.sources, earlier.read.sources);
    };
    prepareWith(opened, {earlier.drawing->geometry(), sources}, swapWorlds);
}

/// Moves the shapes that both have to the new session, and prepares it. If that fails, the shapes
/// go back.
void Render::takeShapes(Session& opened, Session& earlier) {
    std::vector<Index> sources;
    for (const ShapeSource& source : opened.read.sources)
        sources.push_back(source.earlier);
    const auto swapShapes = [&] {
        for (std::size_t i = 0; i < sources.size(); ++i)
            if (sources[i] != kNone)
                std::swap(opened.scene().shapes[i], earlier.scene().shapes[sources[i]]);
    };
    prepareWith(opened, {earlier.drawing->geometry(), sources}, swapShapes);
}

/// Prepares a session after parts of the earlier one were swapped into it. If that fails, they are
/// swapped back.
void Render::prepareWith(Session& opened, const EarlierGeometry& geometry,
                         const std::function<void()>& swapParts) {
    swapParts();
    try {
        opened.prepare({samples, threads, opened.begin}, *report, &geometry);
    } catch (...) {
        swapParts();
        throw;
    }
}

std::shared_ptr<Render::Session> Render::currentSession() const {
    const std::lock_guard<std::mutex> guard(lock);
    return session;
}

std::int64_t Render::layerCount() const {
    const std::shared_ptr<Session> current = currentSession();
    return current ? static_cast<std::int64_t>(current->layers.size()) : 0;
}

const Render::Layer* Render::layer(std::int64_t index) const {
    const std::shared_ptr<Session> current = currentSession();
    const bool isThere = current && index >= 0 && index < std::int64_t(current->layers.size());
    return isThere ? &current->layers[static_cast<std::size_t>(index)] : nullptr;
}

int Render::readLayer(std::int64_t index, float* values, std::int64_t count) const {
    const std::shared_ptr<Session> current = currentSession();
    if (!current || index < 0 || index >= std::int64_t(current->layers.size()))
        throw RenderError("there is no layer " + std::to_string(index), kOxErrorBadCall);
    const Window& window = current->scene().framing.window;
    const Layer& layer = current->layers[static_cast<std::size_t>(index)];
    const std::int64_t needed = std::int64_t(window.width()) * window.height() * layer.channelCount;
    if (!values || count != needed)
        throw RenderError("the layer \"" + layer.name + "\" has " + std::to_string(needed) +
                              " values, not " + std::to_string(count),
                          kOxErrorBadCall);
    const Film& film = current->drawing->film();
    film.readLayer(film.layers()[static_cast<std::size_t>(index)], window, values);
    return current->drawing->completePasses();
}

} // namespace lantern
