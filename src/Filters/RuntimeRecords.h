#ifndef OXTELLARPRODUCERS_RUNTIMERECORDS_H
#define OXTELLARPRODUCERS_RUNTIMERECORDS_H

#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// Adds the anonymous op tree and op types of a runtime to the records of the render, if they are
/// kept (OxRenderServices::AnalyticsManager).
void RecordUsage(const TellarRuntime& runtime);

} // namespace TELLAR

#endif
