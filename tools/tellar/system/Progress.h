#ifndef TELLAR_TOOL_PROGRESS_H
#define TELLAR_TOOL_PROGRESS_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace TellarTool {

/// Shows the progress of some work in one line on standard error, if that is a terminal. The line
/// appears after half a second and is deleted at the end.
class Progress {
public:
    /// Returns the text of the line. `step` counts how often it was shown, and `seconds` is the
    /// time since the start. Called by a thread of its own.
    using Line = std::function<std::string(int step, double seconds)>;

    /// Shows nothing unless `isWanted`.
    Progress(Line line, bool isWanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Deletes the line while `write` writes something else to the terminal.
    void interrupt(const std::function<void()>& write);

private:
    void run();
    void wipe();

    const Line line;
    std::mutex lock;
    std::condition_variable ended;
    bool isEnded = false; // guarded by lock, as is the next one
    bool isShown = false;
    std::thread thread; // last, because it uses all members above
};

/// A line with the number of locations so far. `count` must outlive it.
Progress::Line CountLine(const std::atomic<std::uint64_t>& count);

/// A line with the part of the work that is done, from 0 to 1, and what is being done.
std::string FractionLine(double fraction, const std::string& what, double seconds);

} // namespace TellarTool

#endif
