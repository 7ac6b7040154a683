#ifndef RESOLUTIONTABLEOX_BUILTINRESOLUTIONS_H
#define RESOLUTIONTABLEOX_BUILTINRESOLUTIONS_H

#include <vector>

#include <ResolutionTableOx/ResolutionTable.h>

/// The formats that need no file.
std::vector<ResolutionTableEntry> BuiltInResolutions();

#endif
