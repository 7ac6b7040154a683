#include "LibraryMessages.h"

#include "Process.h"

namespace TellarTool {

LibraryMessages::LibraryMessages(const std::function<void(const std::string& line)>& show)
    : isTaken(!AreLogMessagesWanted()) {
    if (!isTaken) return;
    previous = OxLoggingSetSink([show](const OxLogMessage& message) {
        if (message.level < OxLogLevel::warn) return;
        show((message.level == OxLogLevel::warn ? "warning: " : "") + message.text);
    });
}

LibraryMessages::~LibraryMessages() {
    if (isTaken) OxLoggingSetSink(previous);
}

} // namespace TellarTool
