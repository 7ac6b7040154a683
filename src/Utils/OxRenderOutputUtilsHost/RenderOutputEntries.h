#ifndef OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H
#define OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "SuiteEntry.h"

// The parts that the entries of the suite "RenderOutputUtilsHost" share.

namespace TELLAR::RenderOutputUtilsHost {

using Suite = OxRenderOutputUtilsHostSuite_v3;

inline const NamedLogger kLogger("RenderOutputUtils");

void FillCameraSlots(Suite& suite);
void FillMaterialSlots(Suite& suite);

inline std::string Text(const char* text) {
    return text ? text : "";
}

inline OxAttributeStruct* TextToC(const std::string& text) {
    return OxAttribute::StringAttribute(text).detach();
}

} // namespace TELLAR::RenderOutputUtilsHost

#endif
