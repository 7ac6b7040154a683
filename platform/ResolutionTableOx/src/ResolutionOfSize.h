#ifndef RESOLUTIONTABLEOX_RESOLUTIONOFSIZE_H
#define RESOLUTIONTABLEOX_RESOLUTIONOFSIZE_H

#include <string>

#include <ResolutionTableOx/ResolutionTable.h>

/// The format with square pixels whose name is its size, such as "1280x720". It is made when it is
/// asked for first and lives until the process ends. Null if the name is not a size. Throws what
/// the constructor of entries throws for a size that no format can have. Threads: any.
const ResolutionTableEntry* FindResolutionOfSize(const std::string& name);

#endif
