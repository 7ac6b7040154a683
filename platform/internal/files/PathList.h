#ifndef TELLARINTERNAL_PATHLIST_H
#define TELLARINTERNAL_PATHLIST_H

namespace TellarInternal {

/// The character between the folders of a search path.
#if defined(_WIN32)
constexpr char kPathListSeparator = ';';
#else
constexpr char kPathListSeparator = ':';
#endif

} // namespace TellarInternal

#endif
