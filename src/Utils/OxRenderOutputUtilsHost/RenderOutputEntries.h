#ifndef OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H
#define OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "SuiteEntry.h"

// The parts that the entries of all versions of the suite "RenderOutputUtilsHost" share.

namespace TELLAR::RenderOutputUtilsHost {

using Suite = OxRenderOutputUtilsHostSuite_v3;

inline const NamedLogger kLogger("RenderOutputUtils");

void FillCameraSlots(Suite& suite);
void FillMaterialSlots(Suite& suite);

// The work of entries that several versions have.

/// The arguments of a procedural. `context`, `onError` and the location may be null.
std::string BuildProceduralArguments(const GeometryProducer::Ptr& location,
                                     const OxProceduralContext_v1* context,
                                     OxAttributeStruct* procedural, OxProceduralForm form,
                                     OxProceduralError onError, void* user);
void FlushRuntimePluginCaches();
OxAttributeStruct* GetLocationTypesWithDelegates(const char* rendererName);
/// The frame clamped to the range of int; 0 for NaN.
int ToFrame(float frame);
/// The path of the file for the tile that the location's render settings ask for. The location may
/// be null.
std::string GetTilePath(GeometryProducer* location, const char* path);
/// The times, of `count`, that describe the motion while the shutter is open, as a float attribute.
OxAttributeStruct* GetRelevantSampleTimes(const float* times, std::int64_t count, float open,
                                          float close);

inline std::string Text(const char* text) {
    return text ? text : "";
}

inline OxAttributeStruct* TextToC(const std::string& text) {
    return OxAttribute::StringAttribute(text).detach();
}

} // namespace TELLAR::RenderOutputUtilsHost

#endif
