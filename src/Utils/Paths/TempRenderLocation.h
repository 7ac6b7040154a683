#ifndef OXTELLARPRODUCERS_TEMPRENDERLOCATION_H
#define OXTELLARPRODUCERS_TEMPRENDERLOCATION_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR::RenderOutputUtilsHost {

/// Where a named render output is written while it is rendered, as the render settings of `root`
/// tell; empty when they do not.
std::string GetTempRenderLocation(GeometryProducer& root, const std::string& outputName, int frame);

} // namespace TELLAR::RenderOutputUtilsHost

#endif
