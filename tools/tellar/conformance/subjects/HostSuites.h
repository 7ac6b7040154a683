#ifndef TELLAR_TOOL_HOSTSUITES_H
#define TELLAR_TOOL_HOSTSUITES_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

namespace TellarTool {

// The host's tables without validation, which takes every caller for a plug-in. Checks use them for
// handles of their own.

/// To be called before SetUpPluginHost.
void KeepHostSuites();

const OxScenegraphIteratorHostSuite_v3& IteratorSuite3();
const OxScenegraphIteratorHostSuite_v4& IteratorSuite4();

} // namespace TellarTool

#endif
