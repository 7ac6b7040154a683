#ifndef OXTELLARPRODUCERS_PROCEDURALARGUMENTS_H
#define OXTELLARPRODUCERS_PROCEDURALARGUMENTS_H

#include <cstdint>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

/// The render that a procedural is part of. A value; copy it freely.
struct TELLAR_API ProceduralOutputContextInfo {
    ProceduralOutputContextInfo();
    ProceduralOutputContextInfo(const ProceduralOutputContextInfo& other);
    ProceduralOutputContextInfo(ProceduralOutputContextInfo&& other) noexcept;
    ProceduralOutputContextInfo& operator=(const ProceduralOutputContextInfo& other);
    ProceduralOutputContextInfo& operator=(ProceduralOutputContextInfo&& other) noexcept;

    std::int32_t frame = 1;
    float shutterOpen = 0.0f; ///< in frames, relative to the frame
    float shutterClose = 0.0f;
    float cropWindow[4] = {0.0f, 1.0f, 0.0f, 1.0f}; ///< x min, x max, y min, y max
    std::int32_t xres = 0;                          ///< pixels
    std::int32_t yres = 0;
};

/// Receives the errors that occur while arguments are built; may be null.
using ProceduralErrorCallback = void (*)(const std::string& message,
                                         GeometryProducer::Ptr producer);

// Both build the arguments of the procedural at `producer` from its group `procedural`:
//
//     args                    the arguments, in this order
//     systemArgs              more arguments
//     includeCameraInfo       "As Parameters" adds the camera's lens and transform. Trap: both
//                             forms ignore "As Attributes"
//     cameraInfo.whichCamera  "Other Camera" for the one at cameraInfo.cameraPath; otherwise the
//                             render camera
//
// String values are asset references, which the default asset plug-in resolves at the context's
// frame; those that cannot be resolved are passed as they are. A null producer gives no camera.
// Threads: as for navigating the producer.

/// " -radius 2 -file '/a/one.obj /a/two.obj' -frame 7 -shutter -0.25 0.25 -cropwindow 0 1 0 1".
/// The callback gets a text for every reference that cannot be resolved.
TELLAR_API std::string BuildClassicProceduralArgumentsString(GeometryProducer::Ptr producer,
                                                             ProceduralOutputContextInfo& context,
                                                             OxAttribute::GroupAttribute procedural,
                                                             ProceduralErrorCallback callback);

/// The XML text of one group: the arguments with their types, then "frame", "shutter",
/// "cropwindow", the camera and "ombraFullName". Arguments whose name begins with "__" are left
/// out, at every level. The callback is never called.
TELLAR_API std::string BuildScenegraphAttrProceduralArgumentsString(
    GeometryProducer::Ptr producer, ProceduralOutputContextInfo& context,
    OxAttribute::GroupAttribute procedural, ProceduralErrorCallback callback);

} // namespace TELLAR

#endif
