#ifndef OXTELLARPRODUCERS_CALLBACKCALLS_H
#define OXTELLARPRODUCERS_CALLBACKCALLS_H

#include "ValueTypes.h"

/// Functions that a plug-in passes to a slot: the observer of the slot sees them as calls too.
///
/// A call of a visitor has the members of OxVisit as its arguments, in order, without `passedDown`;
/// what the plug-in passes down comes back as it is. A call of OxProceduralError has the message.

namespace TELLAR {

/// "visit: visitor"
extern const SlotInfo kVisitorSlot;
/// "visit: isCancelled"
extern const SlotInfo kVisitIsCancelledSlot;
/// "visit: releasePassedDown"
extern const SlotInfo kReleasePassedDownSlot;
/// "getProceduralArguments: onError"
extern const SlotInfo kProceduralErrorSlot;

using VisitFunction = std::int32_t (*)(OxSgIteratorStruct*, const OxVisitOptions*, OxVisitor, void*,
                                       OxErrorStruct**);
using ProceduralFunction_v3 = OxAttributeStruct* (*)(OxSgIteratorStruct*,
                                                     const OxProceduralContext_v1*,
                                                     OxAttributeStruct*, OxProceduralForm,
                                                     OxProceduralError, void*);
using ProceduralFunction_v4 = OxAttributeStruct* (*)(OxSgIteratorStruct*,
                                                     const OxProceduralContext_v1*,
                                                     OxAttributeStruct*, OxProceduralForm,
                                                     OxProceduralError, void*, OxErrorStruct**);

// The function of a slot, with the plug-in's functions behind those that tell the observer. The
// template is for slots that take none.

template <typename Result, typename... Arguments>
Result CallSlot(SuiteCallObserver&, const SuiteCall&, Result (*slot)(Arguments...),
                Arguments... arguments) {
    return slot(arguments...);
}
std::int32_t CallSlot(SuiteCallObserver& observer, const SuiteCall& call, VisitFunction slot,
                      OxSgIteratorStruct* location, const OxVisitOptions* options,
                      OxVisitor visitor, void* user, OxErrorStruct** error);
OxAttributeStruct* CallSlot(SuiteCallObserver& observer, const SuiteCall& call,
                            ProceduralFunction_v3 slot, OxSgIteratorStruct* location,
                            const OxProceduralContext_v1* context, OxAttributeStruct* procedural,
                            OxProceduralForm form, OxProceduralError onError, void* user);
OxAttributeStruct* CallSlot(SuiteCallObserver& observer, const SuiteCall& call,
                            ProceduralFunction_v4 slot, OxSgIteratorStruct* location,
                            const OxProceduralContext_v1* context, OxAttributeStruct* procedural,
                            OxProceduralForm form, OxProceduralError onError, void* user,
                            OxErrorStruct** error);

} // namespace TELLAR

#endif
