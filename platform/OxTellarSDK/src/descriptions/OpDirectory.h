#ifndef OXTELLARSDK_OPDIRECTORY_H
#define OXTELLARSDK_OPDIRECTORY_H

#include <string>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// The arguments of an Op with an absolute "directory", if its type takes that argument. A relative
/// "directory" counts from `folder`. Arguments without one get `folder` if they contain a relative
/// "file" or relative textures. An empty `folder` changes nothing.
GroupAttribute WithDirectory(const GroupAttribute& args, const std::string& opType,
                             const std::string& folder);

} // namespace OxAttribute

#endif
