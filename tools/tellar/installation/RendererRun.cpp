#include "RendererRun.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <OxPluginHost/OxPluginHost.h>

#include "LibraryMessages.h"
#include "Output.h"
#include "PrintableText.h"
#include "Progress.h"
#include "StopSignals.h"
#include "Warnings.h"

namespace TellarTool {

namespace {

std::string Text(const char* text) {
    return text ? text : "";
}

/// The OxRenderWish of the user after this signal; 0 means that there was no signal.
int WishAfter(int signal) {
    if (signal == 0) return kOxRenderGoOn;
    return signal == SIGINT ? kOxRenderFinish : kOxRenderCancel;
}

/// Listens to a renderer, which may call from any of its threads.
class Listener {
public:
    explicit Listener(bool isVerbose)
        : isVerbose(isVerbose),
          progress([this](int, double seconds) { return progressLine(seconds); }, true),
          libraryMessages([this](const std::string& line) { showOnce(line); }) {}
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
            return static_cast<const Listener*>(user)->getWish();
        };
        functions.user = this;
        return functions;
    }

    /// The next progress and pictures are those of this task.
    void begin(const RendererTask& newTask, std::size_t index, std::size_t count) {
        pictures.clear();
        error.reset();
        failure = newTask.failure;
        explain = newTask.explain;
        const std::lock_guard<std::mutex> guard(lock);
        task = newTask.name;
        tasksBefore = double(index);
        tasks = double(count);
        fraction = 0;
        what.clear();
    }

    const std::vector<std::string>& getPictures() const { return pictures; }
    /// The last error, which is not shown yet.
    const std::optional<std::string>& getError() const { return error; }
    int getSignal() const { return stopSignals.noted(); }

    /// Hands the terminal over while `write` writes to it.
    void interrupt(const std::function<void()>& write) { progress.interrupt(write); }

private:
    int getWish() const {
        if (failure && failure()) return kOxRenderCancel;
        return WishAfter(stopSignals.noted());
    }

    std::string progressLine(double seconds) {
        const std::lock_guard<std::mutex> guard(lock);
        const std::string between = task.empty() || what.empty() ? "" : ": ";
        return FractionLine((tasksBefore + fraction) / tasks, task + between + what, seconds);
    }

    void setProgress(double newFraction, const std::string& newWhat) {
        std::string printable;
        AppendPrintable(printable, newWhat);
        const std::lock_guard<std::mutex> guard(lock);
        fraction = newFraction >= 0 ? std::min(newFraction, 1.0) : 0; // NaN becomes 0
        what = std::move(printable);
    }

    void takeMessage(int level, const std::string& text) {
        if (level < kOxLogInfo || (level == kOxLogInfo && !isVerbose)) return;
        if (error) show(*error);
        error.reset();
        if (level == kOxLogInfo) show("info: " + text);
        if (level == kOxLogWarn) showWarning(text);
        if (level > kOxLogWarn) error = text;
    }

    void showWarning(const std::string& text) {
        const std::string warning = "warning: " + text;
        if (!IsNewWarning(warning)) return;
        const std::string origin = explain ? explain(text) : std::string();
        show(origin.empty() ? warning : warning + "; " + origin);
    }

    void showOnce(const std::string& warning) {
        if (IsNewWarning(warning)) show(warning);
    }

    void show(const std::string& line) {
        progress.interrupt([&line] { WriteErrorLine(line); });
    }

    const bool isVerbose;
    const StopSignals stopSignals;
    std::vector<std::string> pictures;
    std::optional<std::string> error;
    // These two do not change while a task is done.
    std::function<std::optional<std::string>()> failure;
    std::function<std::string(const std::string&)> explain;
    std::mutex lock;
    double fraction = 0; // done part of the task; guarded by lock, as are the next ones
    std::string what;
    std::string task;
    double tasksBefore = 0;
    double tasks = 1;
    Progress progress; // its thread uses all members above
    LibraryMessages libraryMessages;
};

/// `complete` pictures were written before the one that was stopped.
std::string OutcomeOf(bool isPictureWritten, std::size_t complete) {
    if (complete == 0)
        return isPictureWritten ? "the picture is unfinished" : "no picture was written";
    const std::string before = complete == 1 ? "one picture is complete"
                                             : std::to_string(complete) + " pictures are complete";
    return before + (isPictureWritten ? ", the last one is unfinished" : "");
}

[[noreturn]] void FailTask(const std::string& renderer, int status, const Listener& listener) {
    const char* const end = status == kOxRenderCancelled ? "stopped without being asked to"
                                                         : "failed and does not tell why";
    throw std::runtime_error(
        listener.getError().value_or("the renderer \"" + renderer + "\" " + end));
}

} // namespace

void PrintPicturePath(const std::string& picture) {
    WriteOutput(picture + '\n');
}

void RunRenderer(const std::string& renderer, bool isVerbose,
                 const std::vector<RendererTask>& tasks) {
    Listener listener(isVerbose);
    std::size_t completeTasks = 0;
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        listener.begin(tasks[i], i, tasks.size());
        const int status = tasks[i].work(listener.getFunctions());
        if (tasks[i].failure)
            if (const auto failure = tasks[i].failure()) throw std::runtime_error(*failure);
        listener.interrupt([&] {
            for (const std::string& picture : listener.getPictures())
                tasks[i].deliver(picture);
            FlushOutput();
        });
        const int signal = listener.getSignal();
        const bool isStopped = status == kOxRenderCancelled || status == kOxRenderStopped;
        if (isStopped && signal != 0)
            throw Stopped{signal, OutcomeOf(status == kOxRenderStopped, completeTasks)};
        if (status != kOxRenderDone) FailTask(renderer, status, listener);
        if (listener.getError())
            listener.interrupt([&listener] { WriteErrorLine(*listener.getError()); });
        ++completeTasks;
    }
}

} // namespace TellarTool
