#ifndef OXTELLARPRODUCERS_RENDERRUNTIME_H
#define OXTELLARPRODUCERS_RENDERRUNTIME_H

#include <OxTellarProducers/GeometryProducer.h>

#include "NamedLogger.h"

namespace TELLAR {

// Opening of scenes for C plug-ins, and the end of their renders.

/// The one logger of the suite.
inline const NamedLogger kIteratorHostLogger("ScenegraphIteratorHost");

/// The producer of "/root"; null, with the reason on the standard error stream and in the log, when
/// there is none. Throws nothing that is derived from std::exception.
GeometryProducer::Ptr CreateRootFromOpTreeFile(const char* path);
GeometryProducer::Ptr CreateRootFromOpTreeDescription(OxAttributeStruct* description);

/// Finalizes the runtime behind a producer, unless its scene is being rendered live.
void FinalizeRenderRuntime(GeometryProducer& producer);

} // namespace TELLAR

#endif
