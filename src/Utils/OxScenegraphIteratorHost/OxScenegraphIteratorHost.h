#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOST_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOST_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

// The suite "ScenegraphIteratorHost", which lives to the end of the process.

const OxScenegraphIteratorHostSuite_v4* GetScenegraphIteratorHostSuite_v4();
const OxScenegraphIteratorHostSuite_v3* GetScenegraphIteratorHostSuite_v3();
const OxScenegraphIteratorHostSuite_v2* GetScenegraphIteratorHostSuite_v2();

/// Whether "/root" has an attribute "liveRenderSettings" or "liveRender", so that results have to
/// be kept at the end of a render.
bool IsRenderedLive(TellarRuntime::Client& client);

/// Calls the function with each handle that OxGeometryProducerToHandle makes from now on.
void ObserveMadeHandles(void (*function)(const OxSgIteratorStruct* handle));

} // namespace TELLAR

#endif
