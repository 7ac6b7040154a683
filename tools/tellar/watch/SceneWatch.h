#ifndef TELLAR_TOOL_SCENEWATCH_H
#define TELLAR_TOOL_SCENEWATCH_H

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "Scene.h"
#include "SceneFiles.h"
#include "WatchedFiles.h"

namespace TellarTool {

/// Draws a scene, and draws it again whenever one of its files has changed: the file of the scene
/// itself, the files that its ops import, and textures. Prints to standard error what changed.
class SceneWatch {
public:
    /// Opens the scene, whose imported files have these versions.
    using Open = std::function<Scene(const ImportVersions& versions)>;
    using Draw = std::function<void(const Scene& scene)>;

    /// `path` is that of the scene's file.
    SceneWatch(const std::string& path, Open open, Draw draw);

    /// Returns when the user ends it with SIGINT after a complete picture. Throws what `open`
    /// throws for the first scene, and Stopped. Later errors of `open`, and errors of `draw`, are
    /// printed, and the next change is awaited.
    void run();

private:
    void drawAndLookForFiles();
    std::set<std::string> waitForChange();
    void openAgain(const std::set<std::string>& changed);

    const Open open;
    const Draw draw;
    std::optional<Scene> scene;
    WatchedFiles files; // as they were before the scene was read
    std::map<std::string, std::set<std::string>> filesOfImports; // keyed by the imported file
    ImportVersions versions;
    bool isComplete = false; // whether the last picture is complete
};

} // namespace TellarTool

#endif
