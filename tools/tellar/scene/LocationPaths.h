#ifndef TELLAR_TOOL_LOCATIONPATHS_H
#define TELLAR_TOOL_LOCATIONPATHS_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTool {

/// The path as the library writes it: without slashes at its end and double ones, and "/root" for
/// "/". Text that does not begin with a slash stays as it is.
std::string NormalLocation(const std::string& path);

/// "; did you mean "/root/world"?" for a path that leads to no location. Empty when no location is
/// like it.
std::string HintAboutLocation(const TELLAR::GeometryProducer::Ptr& root, const std::string& path);

} // namespace TellarTool

#endif
