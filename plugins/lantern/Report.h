#ifndef LANTERN_REPORT_H
#define LANTERN_REPORT_H

#include <mutex>
#include <stdexcept>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace lantern {

/// Thrown when the caller cancels the render.
struct Cancelled {};

/// Thrown, with a message for the user, when a picture cannot be made.
struct RenderError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Sends messages and progress to the caller of a render and asks it whether to go on. Safe from
/// several threads at once.
class Report {
public:
    /// A report without a listener.
    Report() = default;
    explicit Report(const OxRenderListener_v1& listener) : listener(listener) {}

    void info(const std::string& message);
    /// For a picture that is made but differs from what the scene asks for.
    void warn(const std::string& message);
    void error(const std::string& message);
    void progress(double fraction, const char* what);
    void picture(const std::string& path);

    /// Whether the caller no longer wants the work, also if it wants the picture so far.
    bool isCancelled() const;
    /// Whether the caller wants the picture so far.
    bool isAskedToFinish() const;
    /// Throws Cancelled.
    void throwIfCancelled() const;

private:
    void say(int level, const std::string& message);

    OxRenderListener_v1 listener{};
    std::mutex lock; // serializes the calls of the listener
};

} // namespace lantern

#endif
