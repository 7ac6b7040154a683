#ifndef OXTELLARPRODUCERS_TEMPRENDERLOCATION_H
#define OXTELLARPRODUCERS_TEMPRENDERLOCATION_H

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR::RenderOutputUtilsHost {

/// The path of a named render output while it is rendered, by the render settings of `root`; empty
/// when they name none.
std::string GetTempRenderLocation(GeometryProducer& root, const std::string& outputName, int frame);

} // namespace TELLAR::RenderOutputUtilsHost

#endif
