#ifndef SCENEIMPORT_READOPTIONS_H
#define SCENEIMPORT_READOPTIONS_H

#include <string>
#include <tuple>

#include "motion/AnimationChoice.h"

namespace TellarSceneImport {

/// The wanted part of a file. Formats without such parts ignore these options.
struct ReadOptions {
    /// The name or the index of a scene of the file; empty for the one that the file shows.
    std::string scene;
    /// The name of a set of materials; empty for the usual ones.
    std::string variant;
    /// An animation of the file, as ChooseAnimation finds it.
    std::string animation = kFirstAnimation;
    /// Whether FBX files are turned to +Y up and scaled to metres.
    bool convertUnits = true;
    /// The axis that points up: 'x', 'y' or 'z', or 0 for the axis of the file format.
    char upAxis = 0;

    friend bool operator<(const ReadOptions& a, const ReadOptions& b) {
        return std::tie(a.scene, a.variant, a.animation, a.convertUnits, a.upAxis) <
               std::tie(b.scene, b.variant, b.animation, b.convertUnits, b.upAxis);
    }
};

} // namespace TellarSceneImport

#endif
