#ifndef SCENEIMPORT_MOTION_H
#define SCENEIMPORT_MOTION_H

#include <cstdint>

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

/// How the samples of a scene's motion get their times.
struct FrameClock {
    double framesPerSecond = 24.0;
    double frame = 0.0;

    /// Relative to the frame.
    double timeAt(double seconds) const { return seconds * framesPerSecond - frame; }
};

/// The attributes of a location that change with time. Immutable.
class Motion {
public:
    virtual ~Motion() = default;
    /// Replaces attributes of the location by ones with a sample for each time.
    virtual void apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const = 0;
    /// About how many bytes it takes.
    virtual std::uint64_t memory() const = 0;
};

} // namespace TellarSceneImport

#endif
