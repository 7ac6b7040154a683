#include "Report.h"

#include <OxPluginHost/OxPluginHost.h>

namespace lantern {

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

void Report::picture(const std::string& path) {
    if (!listener.onPicture) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onPicture(path.c_str(), listener.user);
}

bool Report::isCancelled() const {
    return listener.isCancelled && listener.isCancelled(listener.user) != 0;
}

bool Report::isAskedToFinish() const {
    return listener.isCancelled && listener.isCancelled(listener.user) == kOxRenderFinish;
}

void Report::throwIfCancelled() const {
    if (isCancelled()) throw Cancelled{};
}

void Report::say(int level, const std::string& message) {
    if (!listener.onMessage) return;
    const std::lock_guard<std::mutex> guard(lock);
    listener.onMessage(level, message.c_str(), listener.user);
}

} // namespace lantern
