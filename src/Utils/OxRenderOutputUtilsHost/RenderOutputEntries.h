#ifndef OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H
#define OXTELLARPRODUCERS_RENDEROUTPUTENTRIES_H

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "SuiteEntry.h"
#include "SuiteTable.h"

// The entries of the suite "RenderOutputUtilsHost": one file for each subject, whose function fills
// the subject's slots.

namespace TELLAR::RenderOutputUtilsHost {

using Suite = OxRenderOutputUtilsHostSuite_v3;

inline const NamedLogger kLogger("RenderOutputUtils");

void FillCameraSlots(Suite& suite);
void FillMaterialSlots(Suite& suite);
void FillPathSlots(Suite& suite);
void FillPluginSlots(Suite& suite);
void FillProceduralSlots(Suite& suite);

template <typename Body>
auto Enter(const SuiteEntry& entry, Body body) {
    return RunSuiteEntry(kLogger, entry, body);
}

/// An entry that asks a location: `ask` gets its producer. A null handle gives null. Entries that
/// answer for a null location too use Enter.
template <typename Ask>
auto EnterWith(const SuiteEntry& entry, OxSgIteratorStruct* location, Ask ask) {
    return Enter(entry, [&] {
        const GeometryProducer::Ptr producer = OxHandleToGeometryProducer(location);
        return producer ? ask(producer) : decltype(ask(producer))();
    });
}

inline std::string Text(const char* text) {
    return text ? text : "";
}

inline OxAttributeStruct* TextToC(const std::string& text) {
    return OxAttribute::StringAttribute(text).detach();
}

} // namespace TELLAR::RenderOutputUtilsHost

#endif
