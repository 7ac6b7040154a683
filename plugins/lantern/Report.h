#ifndef LANTERN_REPORT_H
#define LANTERN_REPORT_H

#include <mutex>
#include <stdexcept>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace lantern {

/// Thrown when the caller wants no picture any more.
struct Cancelled {};

/// Thrown, with a text for the user, when there can be no picture.
struct RenderError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Tells the caller of a render what happens, and hears whether to go on. Any number of threads
/// may use one.
class Report {
public:
    /// Speaks to nobody.
    Report() = default;
    explicit Report(const OxRenderListener_v1& listener) : listener(listener) {}

    void info(const std::string& message);
    /// The picture will be there, but something in it is not what the scene asks for.
    void warn(const std::string& message);
    void error(const std::string& message);
    void progress(double fraction, const char* what);
    void picture(const std::string& path);

    bool isCancelled() const;
    /// Throws Cancelled.
    void throwIfCancelled() const;

private:
    void say(int level, const std::string& message);

    OxRenderListener_v1 listener{};
    std::mutex lock; // one call of the listener at a time
};

} // namespace lantern

#endif
