#ifndef RESOLUTIONTABLEOX_RESOLUTIONFILE_H
#define RESOLUTIONTABLEOX_RESOLUTIONFILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <ResolutionTableOx/ResolutionTable.h>

/// A table is written by people; what is larger is some other file.
constexpr std::uintmax_t kMaximumResolutionFileSize = 4 * 1024 * 1024;

/// The formats that a JSON text (docs/resolutions.md) tells, in its order. Throws
/// std::runtime_error, which says what is wrong, and where: `path`, line and column, both counted
/// from 1, the column in bytes. That is the place up to which the text was read to find out, just
/// behind what is at fault.
std::vector<ResolutionTableEntry> ParseResolutions(std::string_view text, const std::string& path);

#endif
