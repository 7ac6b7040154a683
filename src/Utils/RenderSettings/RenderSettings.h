#ifndef OXTELLARPRODUCERS_RENDERSETTINGS_H
#define OXTELLARPRODUCERS_RENDERSETTINGS_H

#include <OxTellarProducers/GeometryProducer.h>
#include <ResolutionTableOx/ResolutionTable.h>

namespace TELLAR {

/// The resolution table's entry. Throws as GetRenderResolution does; the error names the attribute
/// or argument that holds the name.
ResolutionTableEntry LookUpResolution(const std::string& name, const char* attribute);

/// Like GetCameraPath, but throws std::runtime_error "No root producer given for determining render
/// camera path." for a null root.
std::string RenderCameraPath(const GeometryProducer::Ptr& root);

} // namespace TELLAR

#endif
