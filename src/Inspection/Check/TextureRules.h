#ifndef TELLAR_CHECK_TEXTURERULES_H
#define TELLAR_CHECK_TEXTURERULES_H

#include <string>

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

/// Finds textures of a location that do not exist.
void CheckTextureFiles(const OxAttribute::GroupAttribute& attrs, Drafts& drafts);

/// What a finding about a missing file says.
std::string MissingFileProblem(const std::string& file);
/// The key of a finding that says so: a missing file is one finding, wherever it is used.
OxAttribute::Hash MissingFileKey(const std::string& problem);

} // namespace TELLAR

#endif
