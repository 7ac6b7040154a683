#ifndef TELLAR_CHECK_LIGHTANDCAMERARULES_H
#define TELLAR_CHECK_LIGHTANDCAMERARULES_H

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

/// Checks the group "light" of a light, which may be invalid.
void CheckLight(const OxAttribute::GroupAttribute& light, Drafts& drafts);

/// Checks the group "geometry" of a camera, which may be invalid.
void CheckLens(const OxAttribute::GroupAttribute& geometry, Drafts& drafts);

} // namespace TELLAR

#endif
