#ifndef TELLAR_TOOL_STOPSIGNALS_H
#define TELLAR_TOOL_STOPSIGNALS_H

#include <string>

namespace TellarTool {

/// Thrown when the user ended the work by this signal: the exit status is then 128 and its number.
struct Stopped {
    int signal = 0;
    std::string
        outcome; ///< a text about the files written so far, such as "no picture was written"
};

/// While it lives, the first SIGINT or SIGTERM is only recorded, and the next one ends the process
/// as usual. A signal that was ignored before stays ignored. A process may have one such object at
/// a time. On systems without these signals nothing is recorded.
class StopSignals {
public:
    StopSignals();
    /// Restores the earlier signal handlers.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// The signal that was received; 0 if there was none. Any thread may call this.
    int noted() const;
    /// Throws Stopped with this outcome if a signal was received.
    void throwIfNoted(const char* outcome) const;
};

} // namespace TellarTool

#endif
