#ifndef OXTELLARSDK_MAPSETTINGS_H
#define OXTELLARSDK_MAPSETTINGS_H

#include <cstdint>
#include <cstdio>

#include "FileBuffer.h"

namespace OxAttribute {

/// How a plain file of this size is to be opened, according to the configuration and to where it
/// lies. A setting that has no meaning is logged as an error, and the file is then not mapped.
FileAccess ChooseFileAccess(std::FILE* file, std::uint64_t bytes);

/// Whether the configuration allows the handler of SIGBUS, without which no file is mapped.
bool MayHandleBusErrors();

/// Whether a type of file system, as statfs() of Linux gives it, is one whose files other machines
/// or programs may change or take away at any time: those that are mounted over a network, and
/// those that programs provide.
bool IsRemoteFileSystem(std::uint64_t type);

} // namespace OxAttribute

#endif
