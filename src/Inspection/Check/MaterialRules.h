#ifndef TELLAR_CHECK_MATERIALRULES_H
#define TELLAR_CHECK_MATERIALRULES_H

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

// The group "material" of a location, and its "textures". Threads: any.

/// Checks the nodes of a network. Other materials have nothing to check.
void CheckMaterial(const OxAttribute::GroupAttribute& material, Drafts& drafts);

/// Finds entries of "textures" that no node of the location's own network names. `material` may be
/// invalid.
void CheckTextureUse(const OxAttribute::GroupAttribute& textures,
                     const OxAttribute::GroupAttribute& material, Drafts& drafts);

} // namespace TELLAR

#endif
