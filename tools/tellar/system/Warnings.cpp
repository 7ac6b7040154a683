#include "Warnings.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

namespace TellarTool {

namespace {

struct Known {
    std::mutex lock;
    std::set<std::string> warnings; // guarded by lock, as the next one
    std::vector<std::string> missingFiles;
};

/// Never destroyed, because threads of the library may warn until the process ends.
Known& GetKnown() {
    static auto* const known = new Known;
    return *known;
}

/// Whether the text contains the path, but not as the end of a longer path.
bool Names(std::string_view text, std::string_view path) {
    for (std::size_t at = text.find(path); at != std::string_view::npos;
         at = text.find(path, at + 1))
        if (at == 0 || std::string_view("\"' :(").find(text[at - 1]) != std::string_view::npos)
            return true;
    return false;
}

} // namespace

bool IsNewWarning(const std::string& warning) {
    Known& known = GetKnown();
    const std::lock_guard<std::mutex> guard(known.lock);
    const bool isAboutKnownFile =
        std::any_of(known.missingFiles.begin(), known.missingFiles.end(),
                    [&warning](const std::string& path) { return Names(warning, path); });
    return !isAboutKnownFile && known.warnings.insert(warning).second;
}

void NoteMissingFile(const std::string& path) {
    Known& known = GetKnown();
    const std::lock_guard<std::mutex> guard(known.lock);
    known.missingFiles.push_back(path);
}

std::size_t GetNumberOfWarnings() {
    Known& known = GetKnown();
    const std::lock_guard<std::mutex> guard(known.lock);
    return known.warnings.size();
}

} // namespace TellarTool
