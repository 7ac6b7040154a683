#include "RenderWatch.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace TELLAR {

namespace {

RenderWatch& WatchOf(void* user) {
    return *static_cast<RenderWatch*>(user);
}

} // namespace

RenderWatch& RenderWatch::Begin(Validator& validator, const std::string& plugin) {
    static std::mutex* const mutex = new std::mutex;
    static auto* const watches = new std::vector<std::unique_ptr<RenderWatch>>;
    std::unique_ptr<RenderWatch> watch(new RenderWatch(validator, validator.beginRender(plugin)));
    const std::lock_guard<std::mutex> lock(*mutex);
    watches->push_back(std::move(watch));
    return *watches->back();
}

void RenderWatch::end() {
    isOver = true;
    validator.endRender(render);
}

template <typename Function>
void RenderWatch::tell(const char* name, const Function& function) {
    if (isOver) {
        validator.reportListener(Fault::AfterRender, name, render, "was called");
        return;
    }
    if (isBusy.exchange(true))
        validator.reportListener(Fault::TwoCallsAtOnce, name, render,
                                 "was called while another function of it was running");
    function();
    isBusy = false;
}

OxRenderListener_v1 RenderWatch::watch(const OxRenderListener_v1& listener) {
    v1 = listener;
    OxRenderListener_v1 own{};
    own.user = this;
    if (v1.onProgress)
        own.onProgress = [](double fraction, const char* what, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onProgress", [&] { self.v1.onProgress(fraction, what, self.v1.user); });
        };
    if (v1.onMessage)
        own.onMessage = [](int level, const char* message, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onMessage", [&] { self.v1.onMessage(level, message, self.v1.user); });
        };
    if (v1.onPicture)
        own.onPicture = [](const char* path, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onPicture", [&] { self.v1.onPicture(path, self.v1.user); });
        };
    if (v1.isCancelled)
        own.isCancelled = [](void* user) -> int {
            RenderWatch& self = WatchOf(user);
            if (!self.isOver) return self.v1.isCancelled(self.v1.user);
            self.validator.reportListener(Fault::AfterRender, "isCancelled", self.render,
                                          "was called");
            return kOxRenderCancel;
        };
    return own;
}

OxRenderListener_v2 RenderWatch::watch(const OxRenderListener_v2& listener) {
    std::memcpy(&v2, &listener, std::min<std::size_t>(listener.size, sizeof v2));
    OxRenderListener_v2 own{};
    own.size = sizeof own;
    own.user = this;
    if (v2.onProgress)
        own.onProgress = [](double fraction, const char* what, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onProgress", [&] { self.v2.onProgress(fraction, what, self.v2.user); });
        };
    if (v2.onMessage)
        own.onMessage = [](std::int32_t level, const char* message, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onMessage", [&] { self.v2.onMessage(level, message, self.v2.user); });
        };
    if (v2.onPixels)
        own.onPixels = [](const OxPixelRegion* region, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onPixels", [&] { self.v2.onPixels(region, self.v2.user); });
        };
    if (v2.onPicture)
        own.onPicture = [](const char* path, void* user) {
            RenderWatch& self = WatchOf(user);
            self.tell("onPicture", [&] { self.v2.onPicture(path, self.v2.user); });
        };
    return own;
}

} // namespace TELLAR
