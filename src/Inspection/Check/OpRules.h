#ifndef TELLAR_CHECK_OPRULES_H
#define TELLAR_CHECK_OPRULES_H

#include <memory>

#include <OxTellarSDK/TellarRuntime.h>

#include "Findings.h"

namespace TELLAR {

/// Adds the warnings that op types have about an Op and all Ops that it depends on. Those about
/// missing files are left out if the findings have the file already.
void CheckOpTypes(const std::shared_ptr<TellarRuntime::Op>& op, Findings& findings);

} // namespace TELLAR

#endif
