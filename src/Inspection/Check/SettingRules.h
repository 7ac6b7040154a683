#ifndef TELLAR_CHECK_SETTINGRULES_H
#define TELLAR_CHECK_SETTINGRULES_H

#include <OxTellarProducers/GeometryProducer.h>

#include "Findings.h"

namespace TELLAR {

/// Checks the render settings of the scene with this root. A missing camera is left to another
/// rule.
void CheckSettings(const GeometryProducer::Ptr& root, Findings& findings);

} // namespace TELLAR

#endif
