#include "Report.h"

#include <OxPluginHost/OxPluginHost.h>

namespace lantern {

Report::Report(const OxRenderListener_v1& listener)
    : listener{sizeof(OxRenderListener_v2), listener.onProgress, listener.onMessage, nullptr,
               listener.onPicture,          listener.user},
      isCancelledFunction(listener.isCancelled) {}

void Report::info(const std::string& message) {
    say(kOxLogInfo, message);
}

void Report::warn(const std::string& message) {
    say(kOxLogWarn, message);
}

void Report::error(const std::string& message) {
    say(kOxLogError, message);
}

void Report::progress(double fraction, const char* what) {
    if (!listener.onProgress) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onProgress(fraction, what, listener.user);
}

void Report::pixels(const OxPixelRegion& region) {
    if (!listener.onPixels) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onPixels(&region, listener.user);
}

void Report::picture(const std::string& path) {
    if (!listener.onPicture) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onPicture(path.c_str(), listener.user);
}

void Report::throwIfCancelled() const {
    if (isCancelled()) throw Cancelled{};
}

/// An OxRenderWish.
int Report::wish() const {
    if (const OxRenderWish wish = wishes.wish(); wish != kOxRenderGoOn) return wish;
    return isCancelledFunction ? isCancelledFunction(listener.user) : kOxRenderGoOn;
}

void Report::say(int level, const std::string& message) {
    if (!listener.onMessage) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onMessage(level, message.c_str(), listener.user);
}

} // namespace lantern
