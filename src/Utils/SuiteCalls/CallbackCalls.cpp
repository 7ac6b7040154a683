#include "CallbackCalls.h"

namespace TELLAR {

namespace {

constexpr SlotInfo Callback(const char* suite, const char* name, ValueType result) {
    SlotInfo slot;
    slot.suite = suite;
    slot.version = 4;
    slot.name = name;
    slot.index = -1;
    slot.result = result;
    return slot;
}

constexpr void Add(SlotInfo& slot, ValueType type) {
    type.isNullable = true;
    slot.arguments[static_cast<std::size_t>(slot.argumentCount)] = type;
    ++slot.argumentCount;
}

constexpr SlotInfo VisitorSlot() {
    SlotInfo slot =
        Callback(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, "visit: visitor", TypeOf<std::int32_t>());
    Add(slot, TypeOf<OxSgIteratorStruct*>());
    Add(slot, TypeOf<OxErrorStruct*>());
    Add(slot, TypeOf<std::int32_t>());
    Add(slot, TypeOf<std::int32_t>());
    Add(slot, TypeOf<void*>());
    ValueType place = TypeOf<const std::int64_t*>();
    place.count = {CountRule::Argument, 3, 1}; // the depth
    Add(slot, place);
    return slot;
}

constexpr SlotInfo ReleasePassedDownSlot() {
    SlotInfo slot =
        Callback(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, "visit: releasePassedDown", ValueType());
    Add(slot, TypeOf<void*>());
    return slot;
}

constexpr SlotInfo ProceduralErrorSlot() {
    SlotInfo slot =
        Callback(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, "getProceduralArguments: onError", ValueType());
    Add(slot, TypeOf<const char*>());
    return slot;
}

/// A call of a slot that was given functions of the plug-in, which ends after theirs.
struct Functions {
    SuiteCallObserver& observer;
    const SuiteCall& caller;
    void* user = nullptr;
    OxVisitor visitor = nullptr;
    const OxVisitOptions* options = nullptr;
    OxProceduralError onError = nullptr;
};

Functions& FunctionsOf(void* user) {
    return *static_cast<Functions*>(user);
}

/// A call of one of them: `body` calls the plug-in.
template <typename Body>
void Tell(const Functions& functions, const SlotInfo& slot, void* const* places, void* result,
          Body& body) {
    SuiteCall call(
        slot, places, result, [](SuiteCall&, void* frame) { (*static_cast<Body*>(frame))(); },
        &body, &functions.caller);
    functions.observer.onCall(call);
}

std::int32_t RunVisitor(OxVisit* visit, void* user) {
    const Functions& functions = FunctionsOf(user);
    std::int32_t wish = kOxVisitGoOn;
    void* const places[] = {&visit->location, &visit->error,     &visit->thread,
                            &visit->depth,    &visit->inherited, &visit->place};
    auto body = [&] { wish = functions.visitor(visit, functions.user); };
    Tell(functions, kVisitorSlot, places, &wish, body);
    return wish;
}

std::int32_t RunIsCancelled(void* user) {
    const Functions& functions = FunctionsOf(user);
    std::int32_t isCancelled = 0;
    auto body = [&] { isCancelled = functions.options->isCancelled(functions.user); };
    Tell(functions, kVisitIsCancelledSlot, nullptr, &isCancelled, body);
    return isCancelled;
}

void RunReleasePassedDown(void* passedDown, void* user) {
    const Functions& functions = FunctionsOf(user);
    void* const places[] = {&passedDown};
    auto body = [&] { functions.options->releasePassedDown(passedDown, functions.user); };
    Tell(functions, kReleasePassedDownSlot, places, nullptr, body);
}

void RunProceduralError(const char* message, void* user) {
    const Functions& functions = FunctionsOf(user);
    void* const places[] = {&message};
    auto body = [&] { functions.onError(message, functions.user); };
    Tell(functions, kProceduralErrorSlot, places, nullptr, body);
}

} // namespace

const SlotInfo kVisitorSlot = VisitorSlot();
const SlotInfo kVisitIsCancelledSlot =
    Callback(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, "visit: isCancelled", TypeOf<std::int32_t>());
const SlotInfo kReleasePassedDownSlot = ReleasePassedDownSlot();
const SlotInfo kProceduralErrorSlot = ProceduralErrorSlot();

std::int32_t CallSlot(SuiteCallObserver& observer, const SuiteCall& call, VisitFunction slot,
                      OxSgIteratorStruct* location, const OxVisitOptions* options,
                      OxVisitor visitor, void* user, OxErrorStruct** error) {
    Functions functions{observer, call, user, visitor, options};
    OxVisitOptions own{};
    if (options) own = *options;
    if (own.isCancelled) own.isCancelled = RunIsCancelled;
    if (own.releasePassedDown) own.releasePassedDown = RunReleasePassedDown;
    return slot(location, options ? &own : nullptr, visitor ? RunVisitor : nullptr, &functions,
                error);
}

OxAttributeStruct* CallSlot(SuiteCallObserver& observer, const SuiteCall& call,
                            ProceduralFunction_v3 slot, OxSgIteratorStruct* location,
                            const OxProceduralContext_v1* context, OxAttributeStruct* procedural,
                            OxProceduralForm form, OxProceduralError onError, void* user) {
    Functions functions{observer, call, user, nullptr, nullptr, onError};
    return slot(location, context, procedural, form, onError ? RunProceduralError : nullptr,
                &functions);
}

OxAttributeStruct* CallSlot(SuiteCallObserver& observer, const SuiteCall& call,
                            ProceduralFunction_v4 slot, OxSgIteratorStruct* location,
                            const OxProceduralContext_v1* context, OxAttributeStruct* procedural,
                            OxProceduralForm form, OxProceduralError onError, void* user,
                            OxErrorStruct** error) {
    Functions functions{observer, call, user, nullptr, nullptr, onError};
    return slot(location, context, procedural, form, onError ? RunProceduralError : nullptr,
                &functions, error);
}

} // namespace TELLAR
