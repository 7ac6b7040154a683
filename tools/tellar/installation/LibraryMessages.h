#ifndef TELLAR_TOOL_LIBRARYMESSAGES_H
#define TELLAR_TOOL_LIBRARYMESSAGES_H

#include <functional>
#include <string>

#include <OxLoggingHost/OxLoggerGlue.h>

namespace TellarTool {

/// While it lives, hands the warnings and errors that the library logs to a function, as lines for
/// people. Any number of threads may call the function at once. Does nothing when the user asks for
/// log messages.
class LibraryMessages {
public:
    explicit LibraryMessages(const std::function<void(const std::string& line)>& show);
    ~LibraryMessages();
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

private:
    const bool isTaken;
    OxLogSink previous;
};

} // namespace TellarTool

#endif
