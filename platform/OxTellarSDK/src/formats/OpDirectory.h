#ifndef OXTELLARSDK_OPDIRECTORY_H
#define OXTELLARSDK_OPDIRECTORY_H

#include <string>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// The arguments of an Op with an absolute "directory" if its type takes one: a relative one counts
/// from `folder`, and it is `folder` for arguments without one that have a relative "file" or
/// relative textures. An empty `folder` changes nothing.
GroupAttribute WithDirectory(const GroupAttribute& args, const std::string& opType,
                             const std::string& folder);

} // namespace OxAttribute

#endif
