#ifndef OXTELLARPRODUCERS_RENDERRESOLUTION_H
#define OXTELLARPRODUCERS_RENDERRESOLUTION_H

#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// What the render settings on a scene's root tell. Threads: as for reading `root`.

/// The name of the render resolution ("renderSettings.resolution" of `root`) and its size in
/// pixels by the resolution table; "square_512" and 512 x 512 when root is null or has no such
/// string. Null pointers are skipped.
///
/// Throws std::runtime_error "FileOut: Error querying resolution table for resolution: '<name>'."
/// for a name that the table does not have, and "GetRenderResolution: Error getting resolution
/// table" when there is no table; nothing is written then.
TELLAR_API void GetRenderResolution(std::string* name, int* width, int* height,
                                    boost::intrusive_ptr<GeometryProducer> root);

/// The path of the render camera ("renderSettings.cameraName" of `root`);
/// "/root/world/cam/camera" when there is no such string. Empty for a null root.
TELLAR_API std::string GetCameraPath(boost::intrusive_ptr<GeometryProducer> root);

} // namespace TELLAR

#endif
