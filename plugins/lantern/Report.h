#ifndef LANTERN_REPORT_H
#define LANTERN_REPORT_H

#include <mutex>
#include <stdexcept>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite2.h>

#include "RenderControl.h"

namespace lantern {

/// Thrown when the caller cancels the render.
struct Cancelled {};

/// Thrown, with a message for the user, when a picture cannot be made.
struct RenderError : std::runtime_error {
    explicit RenderError(const std::string& message, OxErrorCode code = kOxErrorUnknown)
        : std::runtime_error(message), code(code) {}

    OxErrorCode code;
    // The parts of the message that apply; the others are empty.
    std::string op, opType, location, attribute, file;
};

/// Sends messages and progress to the caller of a render and asks it whether to go on. Safe from
/// several threads at once.
class Report {
public:
    /// A report without a listener.
    Report() = default;
    /// Adopts the functions of a listener, and its isCancelled() beside the control's wishes.
    explicit Report(const OxRenderListener_v1& listener);
    explicit Report(const OxRenderListener_v2& listener) : listener(listener) {}

    void info(const std::string& message);
    /// For a picture that is made but differs from what the scene asks for.
    void warn(const std::string& message);
    void error(const std::string& message);
    void progress(double fraction, const char* what);
    void pixels(const OxPixelRegion& region);
    void picture(const std::string& path);

    RenderControl& control() { return wishes; }

    /// Whether the caller no longer wants the work, also if it wants the picture so far.
    bool isCancelled() const { return wish() != kOxRenderGoOn; }
    /// Whether the caller wants the picture so far.
    bool isAskedToFinish() const { return wish() == kOxRenderFinish; }
    /// Throws Cancelled.
    void throwIfCancelled() const;

private:
    int wish() const;
    void say(int level, const std::string& message);

    OxRenderListener_v2 listener{};
    int (*isCancelledFunction)(void* user) = nullptr; // only of a listener of version 1
    RenderControl wishes;
    std::mutex lock; // serializes the calls of the listener
};

} // namespace lantern

#endif
