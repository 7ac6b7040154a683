#ifndef RESOLUTIONTABLEOX_RESOLUTIONFILE_H
#define RESOLUTIONTABLEOX_RESOLUTIONFILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <ResolutionTableOx/ResolutionTable.h>

/// Tables are written by people. A larger file is something else.
constexpr std::uintmax_t kMaximumResolutionFileSize = 4 * 1024 * 1024;

/// Reads formats from a JSON text (docs/resolutions.md), in its order. Throws std::runtime_error
/// with the reason and the place: `path`, line and column, both counted from 1, the column in
/// bytes. The place is where the parser stopped, just after the fault.
std::vector<ResolutionTableEntry> ParseResolutions(std::string_view text, const std::string& path);

#endif
