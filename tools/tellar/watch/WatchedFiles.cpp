#include "WatchedFiles.h"

#include "files/RegularFile.h"

namespace TellarTool {

namespace {

std::string StateOf(const std::string& path) {
    std::string reason;
    const auto state = RegularFile::StateOf(path, reason);
    if (!state) return reason;
    return std::to_string(state->bytes) + ' ' + std::to_string(state->modifiedSeconds) + '.' +
           std::to_string(state->modifiedNanoseconds) + ' ' + std::to_string(state->file);
}

} // namespace

WatchedFiles::WatchedFiles(const std::set<std::string>& paths) {
    for (const std::string& path : paths)
        add(path);
}

void WatchedFiles::add(const std::string& path) {
    if (states.count(path) == 0) states.emplace(path, StateOf(path));
}

void WatchedFiles::refresh() {
    for (auto& [path, state] : states)
        state = StateOf(path);
}

std::set<std::string> WatchedFiles::changedSince(const WatchedFiles& earlier) const {
    std::set<std::string> changed;
    for (const auto& [path, state] : states) {
        const auto before = earlier.states.find(path);
        if (before == earlier.states.end() || before->second != state) changed.insert(path);
    }
    return changed;
}

} // namespace TellarTool
