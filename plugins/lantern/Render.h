#ifndef LANTERN_RENDER_H
#define LANTERN_RENDER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarProducers/OxRendererPluginSuite2.h>

#include "Report.h"
#include "SceneData.h"
#include "drawing/Draw.h"
#include "reading/Location.h"
#include "reading/Suites.h"

struct OxPluginHost;

namespace lantern {

/// The job of a render, with what it borrows from the caller only while the render is made.
struct RenderJob {
    OxSgIteratorStruct* root = nullptr;
    const char* picture = nullptr; ///< null: no file
    float frame = 0;
    int samples = 0;
    int threads = 0;
    bool isLive = false; ///< after the picture is complete, the render waits for changes
    OxPixelRegion region{0, 0, 0, 0};
};

/// One render with its thread, which reads the scene, draws it and writes the picture. Safe from
/// several threads at once.
class Render {
public:
    /// Starts to render. Throws RenderError for a job that cannot be drawn.
    template <typename Listener>
    Render(const OxPluginHost& host, const RenderJob& job, const Listener& listener)
        : Render(host, job, std::make_unique<Report>(listener)) {}
    /// Cancels the render and waits for its end.
    ~Render();
    Render(const Render&) = delete;
    Render& operator=(const Render&) = delete;

    /// Waits for the end of the picture, but no more than so many seconds; negative: without an
    /// end. Returns an OxRenderStatus or kOxRenderRunning.
    int wait(double seconds);
    /// The reason after wait() has returned kOxRenderFailed.
    std::exception_ptr failure() const;

    void request(OxRenderWish wish);
    void pause() { report->control().pause(); }
    void resume() { report->control().resume(); }
    /// Throws RenderError if the region has no pixel of the picture or the render has ended.
    void setRegion(const OxPixelRegion& wanted);

    /// Reads the revision to which the changes lead and begins to draw it. Throws RenderError and
    /// Cancelled; the render then stays as it was.
    void applyChanges(const OxChangesStruct* changes);

    /// A layer as the caller sees it.
    struct Layer {
        std::string name;
        std::string channels;
        int channelCount = 0;
        bool isInteger = false;
        OxPixelRegion region{};
    };
    std::int64_t layerCount() const;
    /// Null if the index is out of range. The layer is valid until the scene changes.
    const Layer* layer(std::int64_t index) const;
    /// Copies the pixels of a layer and returns the number of complete passes. Throws RenderError
    /// if there is no such layer or `count` is not the number of its values.
    int readLayer(std::int64_t index, float* values, std::int64_t count) const;

private:
    /// A scene that is being drawn.
    struct Session;
    class ParkedThread;

    Render(const OxPluginHost& host, const RenderJob& job, std::unique_ptr<Report> listener);

    void run() noexcept;
    std::shared_ptr<Session> read(const Location& from, const Session* earlier);
    std::shared_ptr<Session> readView(const Location& from, const Session& earlier);
    void takeShapes(Session& opened, Session& earlier);
    void takeWorld(Session& opened, Session& earlier);
    void prepareWith(Session& opened, const EarlierGeometry& geometry,
                     const std::function<void()>& swapParts);
    std::string checkedPath(const Location& from) const;
    int drawUntilTheEnd();
    void deliver(const Session& drawn);
    bool waitForChange();
    void end(int newStatus, std::exception_ptr newReason = nullptr);
    void beginAnew();
    void throwIfEnded() const;
    std::shared_ptr<Session> currentSession() const;

    const Suites suites;
    const float frame;
    const int samples;
    const int threads;
    const bool isLive;
    const std::optional<std::string> pictureName; // absent: no file
    std::unique_ptr<Report> report;
    std::mutex changing; // held while changes are applied

    mutable std::mutex lock; // guards the members below; held in no call of the report
    mutable std::condition_variable changed;
    Window picture;                   // the pixels that the scene asks for
    Window region;                    // the pixels to draw; may exceed the picture
    std::shared_ptr<Session> session; // null until the scene has been read
    Location root;                    // of the scene to read first
    int status = kOxRenderRunning;
    bool isParkWanted = false; // the scene is being replaced
    bool isParked = false;     // the thread waits and uses no session
    bool hasEnded = false;     // nothing changes any more
    std::exception_ptr reason; // of kOxRenderFailed

    std::thread thread; // last, because it uses all members above
};

} // namespace lantern

#endif
