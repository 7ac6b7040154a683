#ifndef SCENEIMPORT_READOPTIONS_H
#define SCENEIMPORT_READOPTIONS_H

#include <string>
#include <tuple>

namespace TellarSceneImport {

/// Which part of a file is wanted. Files whose format has no such parts ignore them.
struct ReadOptions {
    /// The name or the index of a scene of the file; empty for the one that the file shows.
    std::string scene;

    friend bool operator<(const ReadOptions& a, const ReadOptions& b) {
        return std::tie(a.scene) < std::tie(b.scene);
    }
};

} // namespace TellarSceneImport

#endif
