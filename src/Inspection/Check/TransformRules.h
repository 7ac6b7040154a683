#ifndef TELLAR_CHECK_TRANSFORMRULES_H
#define TELLAR_CHECK_TRANSFORMRULES_H

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

/// Checks the attribute "xform" of a location.
void CheckTransform(const OxAttribute::Attribute& xform, Drafts& drafts);

} // namespace TELLAR

#endif
