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

/// Tells on standard error, when that is a terminal, how far some work is: on one line that is
/// wiped away at the end. Work of less than half a second shows nothing.
class Progress {
public:
    /// What the line says: `step` counts how often it was shown, `seconds` since the start. Called
    /// by a thread of its own.
    using Line = std::function<std::string(int step, double seconds)>;

    /// Does nothing at all unless `isWanted`.
    Progress(Line line, bool isWanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Writes something else to the terminal, where the line would be.
    void interrupt(const std::function<void()>& write);

private:
    void run();
    void wipe();

    const Line line;
    std::mutex lock;
    std::condition_variable ended;
    bool isEnded = false; // guarded by lock, as is the next one
    bool isShown = false;
    std::thread thread; // last: it uses all of the above
};

/// How many locations there were so far. `count` must outlive the line.
Progress::Line CountLine(const std::atomic<std::uint64_t>& count);

/// How much of some work is done, from 0 to 1, and what is being done.
std::string FractionLine(double fraction, const std::string& what, double seconds);

} // namespace TellarTool

#endif
