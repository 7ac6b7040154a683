#ifndef TELLAR_TOOL_PROGRESS_H
#define TELLAR_TOOL_PROGRESS_H

#include <condition_variable>
#include <mutex>
#include <thread>

#include "LocationWalk.h"

namespace TellarTool {

/// Tells on standard error, when that is a terminal, how many locations there were so far: on
/// one line that is wiped away at the end. A walk of less than half a second shows nothing.
class Progress {
public:
    /// `count` must outlive it. Does nothing at all unless `isWanted`.
    Progress(const LocationCount& count, bool isWanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void run();

    const LocationCount& count;
    std::mutex lock;
    std::condition_variable ended;
    bool isEnded = false; // guarded by lock
    std::thread thread;   // last: it uses all of the above
};

} // namespace TellarTool

#endif
