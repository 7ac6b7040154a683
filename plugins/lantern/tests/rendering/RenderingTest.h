#ifndef LANTERN_TEST_RENDERINGTEST_H
#define LANTERN_TEST_RENDERINGTEST_H

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/AttributeSuite4.h>

#include "Entries.h"
#include "ReadingTest.h"

/// Renders through version 2 of the plug-in's suite.
namespace LanternTest {

inline const OxRendererPluginSuite_v2& Renderer() {
    Host();
    SetHost(OxGetPluginHost());
    return *static_cast<const OxRendererPluginSuite_v2*>(GetSuite2());
}

inline const OxAttributeSuite_v4& Values() {
    return *static_cast<const OxAttributeSuite_v4*>(Host().getSuite(OX_ATTRIBUTE_HOST_SUITE, 4));
}

/// Takes the reference of an error and returns its code and text, or "" for none.
inline std::string TextOf(OxErrorStruct* error) {
    if (!error) return {};
    OxErrorFacts facts{};
    Values().getErrorFacts(error, &facts);
    std::string text = std::to_string(facts.code) + ": " + facts.text;
    Values().releaseError(error);
    return text;
}

/// A listener of a render, with a function for new pixels.
class Watcher {
public:
    OxRenderListener_v2 listener() {
        OxRenderListener_v2 listener{};
        listener.size = sizeof listener;
        listener.onProgress = [](double fraction, const char*, void* user) {
            static_cast<Watcher*>(user)->fraction = fraction;
        };
        listener.onMessage = [](std::int32_t, const char* message, void* user) {
            auto* self = static_cast<Watcher*>(user);
            const std::lock_guard<std::mutex> guard(self->lock);
            self->messages.emplace_back(message);
        };
        listener.onPixels = [](const OxPixelRegion* region, void* user) {
            auto* self = static_cast<Watcher*>(user);
            ++self->pixelCalls;
            if (self->onPixels) self->onPixels(*region);
        };
        listener.user = this;
        return listener;
    }

    std::function<void(const OxPixelRegion&)> onPixels;
    std::atomic<double> fraction{0};
    std::atomic<int> pixelCalls{0};
    std::mutex lock;
    std::vector<std::string> messages;
};

/// Releases a render at the end of a test.
class Rendering {
public:
    Rendering(const Location& root, int samples, Watcher& watcher, int isLive = 0,
              const OxPixelRegion& region = {0, 0, 0, 0}, const char* picture = nullptr) {
        OxRenderJob_v2 job{};
        job.size = sizeof job;
        job.root = root.get();
        job.picture = picture;
        job.samples = samples;
        job.threads = 2;
        job.isLive = isLive;
        job.region = region;
        job.listener = watcher.listener();
        OxErrorStruct* error = nullptr;
        render = Renderer().start(&job, &error);
        startError = TextOf(error);
    }
    ~Rendering() { Renderer().release(render); }
    Rendering(const Rendering&) = delete;
    Rendering& operator=(const Rendering&) = delete;

    OxRenderStruct* get() const { return render; }
    int wait(double seconds = -1) const {
        OxErrorStruct* error = nullptr;
        const int status = Renderer().wait(render, seconds, &error);
        EXPECT_EQ(TextOf(error), "");
        return status;
    }
    /// The pixels of a layer.
    std::vector<float> read(int index = 0) const {
        OxRenderLayer layer{};
        if (!Renderer().getLayer(render, index, &layer)) return {};
        const std::int64_t count =
            std::int64_t(layer.region.width) * layer.region.height * layer.channelCount;
        std::vector<float> values(static_cast<std::size_t>(count), -1);
        OxErrorStruct* error = nullptr;
        passes = Renderer().readLayer(render, index, values.data(), count, &error);
        EXPECT_EQ(TextOf(error), "");
        return values;
    }
    int setRegion(const OxPixelRegion& region, std::string& message) const {
        OxErrorStruct* error = nullptr;
        const int isSet = Renderer().setRegion(render, &region, &error);
        message = TextOf(error);
        return isSet;
    }

    std::string startError;
    mutable std::int64_t passes = 0;

private:
    OxRenderStruct* render = nullptr;
};

/// Waits until something is true, for a minute at most.
inline bool Soon(const std::function<bool()>& isTrue) {
    for (int i = 0; i < 60000; ++i) {
        if (isTrue()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

/// A white sphere of this height in a picture of 64 by 48 pixels.
inline Location SphereScene(const std::string& height = "0", const std::string& settings = "") {
    return RootOfJson(SceneJson(
        R"("ball": {"a": {"type": "sphere", "geometry": {"radius": 1.0},
           "xform": {"translate": [0.0, )" +
            height + R"(, -4.0]}}})",
        R"("renderSettings": {"resolution": "64x48", "cameraName": "/root/world/cam/camera")" +
            settings + "}"));
}

/// A sphere with more paths than any test waits for.
constexpr int kEndless = 1000000;

} // namespace LanternTest

#endif
