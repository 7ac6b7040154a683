#include "RenderControl.h"

namespace lantern {

void RenderControl::request(OxRenderWish wish) {
    const std::lock_guard<std::mutex> guard(lock);
    if (wish == kOxRenderCancel || wished == kOxRenderGoOn) wished = wish;
    changed.notify_all();
}

void RenderControl::pause() {
    paused = true;
}

void RenderControl::resume() {
    const std::lock_guard<std::mutex> guard(lock);
    paused = false;
    changed.notify_all();
}

void RenderControl::rest() {
    if (!paused) return;
    std::unique_lock<std::mutex> guard(lock);
    if (resting++ == 0) restBegin = std::chrono::steady_clock::now();
    changed.wait(guard, [this] { return !paused || interrupted || wished != kOxRenderGoOn; });
    if (--resting == 0) rested += std::chrono::steady_clock::now() - restBegin;
}

std::chrono::steady_clock::duration RenderControl::timeRested() const {
    const std::lock_guard<std::mutex> guard(lock);
    return rested;
}

void RenderControl::interrupt() {
    const std::lock_guard<std::mutex> guard(lock);
    interrupted = true;
    changed.notify_all();
}

} // namespace lantern
