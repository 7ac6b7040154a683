#include "RendererRun.h"

#include <csignal>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxPluginHost/OxPluginHost.h>

#include "Output.h"
#include "PrintableText.h"
#include "Process.h"
#include "Progress.h"
#include "StopSignals.h"

namespace TellarTool {

namespace {

std::string Text(const char* text) {
    return text ? text : "";
}

/// What the user wants of the renderer after this signal, 0 for none: an OxRenderWish.
int WishAfter(int signal) {
    if (signal == 0) return kOxRenderGoOn;
    return signal == SIGINT ? kOxRenderFinish : kOxRenderCancel;
}

/// While it lives, hands the library's log messages to a function, which any number of threads may
/// call at once. Does nothing when the user asks for log messages.
class LibraryMessages {
public:
    explicit LibraryMessages(const OxLogSink& sink) : isTaken(!AreLogMessagesWanted()) {
        if (isTaken) previous = OxLoggingSetSink(sink);
    }
    ~LibraryMessages() {
        if (isTaken) OxLoggingSetSink(previous);
    }
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

private:
    const bool isTaken;
    OxLogSink previous;
};

/// Listens to a renderer, which may call from any of its threads.
class Listener {
public:
    explicit Listener(bool isVerbose)
        : isVerbose(isVerbose),
          progress([this](int, double seconds) { return progressLine(seconds); }, true),
          libraryMessages([this](const OxLogMessage& message) { showLogged(message); }) {}
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Functions for the renderer, which refer to this object.
    OxRenderListener_v1 getFunctions() {
        OxRenderListener_v1 functions{};
        functions.onProgress = [](double fraction, const char* what, void* user) {
            static_cast<Listener*>(user)->setProgress(fraction, Text(what));
        };
        functions.onMessage = [](int level, const char* message, void* user) {
            static_cast<Listener*>(user)->takeMessage(level, Text(message));
        };
        functions.onPicture = [](const char* path, void* user) {
            static_cast<Listener*>(user)->pictures.push_back(Text(path));
        };
        functions.isCancelled = [](void* user) {
            return WishAfter(static_cast<const Listener*>(user)->stopSignals.noted());
        };
        functions.user = this;
        return functions;
    }

    const std::vector<std::string>& getPictures() const { return pictures; }
    /// The last error, which is not shown yet.
    const std::optional<std::string>& getError() const { return error; }
    int getSignal() const { return stopSignals.noted(); }

private:
    std::string progressLine(double seconds) {
        const std::lock_guard<std::mutex> guard(lock);
        return FractionLine(fraction, what, seconds);
    }

    void setProgress(double newFraction, const std::string& newWhat) {
        std::string printable;
        AppendPrintable(printable, newWhat);
        const std::lock_guard<std::mutex> guard(lock);
        fraction = newFraction;
        what = std::move(printable);
    }

    void takeMessage(int level, const std::string& text) {
        if (level < kOxLogInfo || (level == kOxLogInfo && !isVerbose)) return;
        if (error) show(*error);
        error.reset();
        if (level == kOxLogInfo) show("info: " + text);
        if (level == kOxLogWarn) show("warning: " + text);
        if (level > kOxLogWarn) error = text;
    }

    void showLogged(const OxLogMessage& message) {
        if (message.level < OxLogLevel::warn) return;
        show((message.level == OxLogLevel::warn ? "warning: " : "") + message.text);
    }

    void show(const std::string& line) {
        progress.interrupt([&line] { WriteErrorLine(line); });
    }

    const bool isVerbose;
    const StopSignals stopSignals;
    std::vector<std::string> pictures;
    std::optional<std::string> error;
    std::mutex lock;
    double fraction = 0; // guarded by lock, as is the next one
    std::string what;
    Progress progress; // its thread uses all members above
    LibraryMessages libraryMessages;
};

} // namespace

void RunRenderer(const std::string& renderer, bool isVerbose,
                 const std::function<int(const OxRenderListener_v1& listener)>& work) {
    std::vector<std::string> pictures;
    std::optional<std::string> error;
    int status = kOxRenderFailed;
    int signal = 0;
    {
        Listener listener(isVerbose);
        status = work(listener.getFunctions());
        pictures = listener.getPictures();
        error = listener.getError();
        signal = listener.getSignal();
    }
    for (const std::string& picture : pictures)
        WriteOutput(picture + '\n');
    FlushOutput();
    if (status == kOxRenderCancelled && signal != 0) throw Stopped{signal, false};
    if (status == kOxRenderStopped && signal != 0) throw Stopped{signal, true};
    if (status != kOxRenderDone)
        throw std::runtime_error(
            error.value_or("the renderer \"" + renderer + "\" " +
                           (status == kOxRenderCancelled ? "stopped without being asked to"
                                                         : "failed and does not tell why")));
    if (error) WriteErrorLine(*error);
}

} // namespace TellarTool
