#ifndef OXTELLARPRODUCERS_RENDERRESOLUTION_H
#define OXTELLARPRODUCERS_RENDERRESOLUTION_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// The render settings on a scene's root. Threads: as for reading `root`.

/// The name of the render resolution ("renderSettings.resolution" of `root`) and its size in
/// pixels by the resolution table; "square_512" and 512 x 512 when root is null or has no such
/// string. Null pointers are skipped.
///
/// Throws std::runtime_error "FileOut: Error querying resolution table for resolution: '<name>'."
/// for a name that the table does not have, and "GetRenderResolution: Error getting resolution
/// table" when there is no table; nothing is written then.
TELLAR_API void GetRenderResolution(std::string* name, int* width, int* height,
                                    GeometryProducer::Ptr root);

/// The path of the render camera ("renderSettings.cameraName" of `root`);
/// "/root/world/cam/camera" when there is no such string. Empty for a null root.
TELLAR_API std::string GetCameraPath(GeometryProducer::Ptr root);

} // namespace TELLAR

#endif
