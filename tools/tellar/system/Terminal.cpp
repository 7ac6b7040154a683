#include "Terminal.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <string>

#if defined(_WIN32)
#include <io.h>
#else
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace TellarTool {

bool IsTerminal(std::FILE* stream) {
#if defined(_WIN32)
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

int TerminalWidth(std::FILE* stream) {
#if !defined(_WIN32)
    struct winsize size {};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
#else
    static_cast<void>(stream);
#endif
    return 80;
}

bool IsUtf8Locale() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        // The first one that is set decides. Its code set may be written "UTF-8" or "utf8".
        std::string letters;
        for (const char* c = value; *c; ++c)
            if (std::isalnum(static_cast<unsigned char>(*c)))
                letters += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
        return letters.find("utf8") != std::string::npos;
    }
    return false;
}

bool HasColours() {
    const char* refused = std::getenv("NO_COLOR");
    return IsTerminal(stdout) && !(refused && *refused);
}

void IgnoreClosedPipes() {
#if defined(SIGPIPE)
    std::signal(SIGPIPE, SIG_IGN);
#endif
}

std::uint64_t PeakMemory() {
#if defined(_WIN32)
    return 0;
#else
    struct rusage usage {};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024; // it is in KiB
#endif
}

} // namespace TellarTool
