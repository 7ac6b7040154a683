#ifndef OXTELLARSDK_KNOWNPATHS_H
#define OXTELLARSDK_KNOWNPATHS_H

#include <string_view>

#include "Container.h"

namespace OxAttribute {

/// The value at a dotted path below a group in a file, without a reference; null when there is
/// none. Throws std::runtime_error when the file is damaged there.
///
/// Each thread keeps a cache of the paths that it asked for, because readers ask group after group
/// for the same few paths, and most groups of a scene share a few shapes.
const Node* FindInFile(Container& container, const Node* group, std::string_view path);

} // namespace OxAttribute

#endif
