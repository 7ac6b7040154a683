#ifndef OXTELLARPRODUCERS_PROCEDURALARGUMENTS_H
#define OXTELLARPRODUCERS_PROCEDURALARGUMENTS_H

#include <cstdint>
#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// What a procedural is told about the render it is part of. A value; copy it freely.
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

/// Is told of what goes wrong while arguments are built; may be null.
using ProceduralErrorCallback = void (*)(const std::string& message,
                                         boost::intrusive_ptr<GeometryProducer> producer);

// Both build the arguments of the procedural at `producer` from its group `procedural`:
//
//     args                    what to pass on, in this order
//     systemArgs              more of it
//     includeCameraInfo       "As Parameters": the camera's lens and transform too. Trap: "As
//                             Attributes" gives nothing about the camera in either form
//     cameraInfo.whichCamera  "Other Camera": the one at cameraInfo.cameraPath; otherwise the
//                             render camera
//
// String values are asset references, resolved by the default asset plug-in at the context's
// frame; those that cannot be resolved are passed as they are. A null producer gives no camera.
// Threads: as for navigating the producer.

/// " -radius 2 -file '/a/one.obj /a/two.obj' -frame 7 -shutter -0.25 0.25 -cropwindow 0 1 0 1".
/// The callback gets a text for every reference that cannot be resolved.
TELLAR_API std::string BuildClassicProceduralArgumentsString(
    boost::intrusive_ptr<GeometryProducer> producer, ProceduralOutputContextInfo& context,
    OxAttribute::GroupAttribute procedural, ProceduralErrorCallback callback);

/// The XML text of one group: the arguments with their types, then "frame", "shutter",
/// "cropwindow", the camera and "ombraFullName". Arguments whose name begins with "__" are left
/// out, at every level. The callback is never called.
TELLAR_API std::string BuildScenegraphAttrProceduralArgumentsString(
    boost::intrusive_ptr<GeometryProducer> producer, ProceduralOutputContextInfo& context,
    OxAttribute::GroupAttribute procedural, ProceduralErrorCallback callback);

} // namespace TELLAR

#endif
