#ifndef TELLAR_TOOL_WATCHEDFILES_H
#define TELLAR_TOOL_WATCHEDFILES_H

#include <map>
#include <set>
#include <string>

namespace TellarTool {

/// Files and their states at one moment. A file that does not exist has a state too.
class WatchedFiles {
public:
    WatchedFiles() = default;
    explicit WatchedFiles(const std::set<std::string>& paths);

    /// Adds a file in its present state, unless it is known.
    void add(const std::string& path);
    /// Takes the present state of all files.
    void refresh();

    std::size_t count() const { return states.size(); }
    /// The files whose states differ between both.
    std::set<std::string> changedSince(const WatchedFiles& earlier) const;

private:
    std::map<std::string, std::string> states; // the state of each path as text
};

} // namespace TellarTool

#endif
