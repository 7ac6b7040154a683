#ifndef OXTELLARPRODUCERS_ARCHPATH_H
#define OXTELLARPRODUCERS_ARCHPATH_H

#include <string>

#include <OxTellarProducers/Export.h>

namespace TELLAR {

/// The name of the platform that the library was built for.
TELLAR_API std::string GetArchString();

/// The path with every "%ARCH" replaced by GetArchString(); nothing else is expanded.
TELLAR_API std::string ExpandArchPath(const std::string& path);

} // namespace TELLAR

#endif
