#ifndef OXTELLARSDK_KNOWNPATHS_H
#define OXTELLARSDK_KNOWNPATHS_H

#include <string_view>

#include "AttributeNode.h"

namespace OxAttribute {

/// What stands at a dotted path below a group in a file, without a reference; null when there is
/// nothing.
///
/// Readers ask group after group for the same few paths, and groups of a scene look alike: each
/// thread remembers at which place, and under which name's unit, it found every level of a path
/// last. Names are written once and shared, so that one comparison of units tells a name.
const Node* FindInFile(const Node* group, std::string_view path);

} // namespace OxAttribute

#endif
