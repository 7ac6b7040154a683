#ifndef LANTERN_RENDERCONTROL_H
#define LANTERN_RENDERCONTROL_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace lantern {

/// The wishes of a render's caller, which the render's threads follow. Safe from several threads at
/// once.
class RenderControl {
public:
    /// Asks the render to end. kOxRenderCancel replaces kOxRenderFinish, but not the reverse.
    void request(OxRenderWish wish);
    OxRenderWish wish() const { return wished; }

    void pause();
    void resume();
    /// Waits until the pause, if there is one, ends, or the render shall end or is interrupted.
    void rest();
    /// The sum of all finished waits of rest(), where waits of several threads at once count once.
    std::chrono::steady_clock::duration timeRested() const;

    /// Asks the threads that draw to return, so that the region or the scene can be changed.
    void interrupt();
    bool isInterrupted() const { return interrupted; }
    void clearInterruption() { interrupted = false; }

private:
    std::atomic<OxRenderWish> wished{kOxRenderGoOn};
    std::atomic<bool> paused{false};
    std::atomic<bool> interrupted{false};
    mutable std::mutex lock; // guards the members below
    std::condition_variable changed;
    int resting = 0; // number of threads in rest()
    std::chrono::steady_clock::time_point restBegin;
    std::chrono::steady_clock::duration rested{};
};

} // namespace lantern

#endif
