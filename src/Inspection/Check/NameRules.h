#ifndef TELLAR_CHECK_NAMERULES_H
#define TELLAR_CHECK_NAMERULES_H

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

/// Checks the names of a location's potential children.
void CheckNames(const OxAttribute::StringAttribute& children, Drafts& drafts);

} // namespace TELLAR

#endif
