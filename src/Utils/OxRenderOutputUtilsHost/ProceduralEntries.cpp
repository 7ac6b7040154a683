#include "RenderOutputEntries.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <OxTellarProducers/ProceduralArguments.h>

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using OxAttribute::Attribute;
using Producer = GeometryProducer::Ptr;

// The library's callback has no user data, so the call in progress on this thread holds it.
struct ProceduralCall {
    OxProceduralError onError;
    void* user;
};
thread_local const ProceduralCall* currentCall = nullptr;

class ScopedProceduralCall {
public:
    explicit ScopedProceduralCall(const ProceduralCall& call)
        : outer(std::exchange(currentCall, &call)) {}
    ~ScopedProceduralCall() { currentCall = outer; }
    ScopedProceduralCall(const ScopedProceduralCall&) = delete;
    ScopedProceduralCall& operator=(const ScopedProceduralCall&) = delete;

private:
    const ProceduralCall* const outer;
};

void TellError(const std::string& message, Producer) {
    currentCall->onError(message.c_str(), currentCall->user);
}

ProceduralOutputContextInfo ToContext(const OxProceduralContext_v1* context) {
    ProceduralOutputContextInfo info;
    if (!context) return info;
    info.frame = context->frame;
    info.shutterOpen = context->shutterOpen;
    info.shutterClose = context->shutterClose;
    std::copy(std::begin(context->cropWindow), std::end(context->cropWindow), info.cropWindow);
    info.xres = context->xres;
    info.yres = context->yres;
    return info;
}

OxAttributeStruct* GetProceduralArguments(OxSgIteratorStruct* location,
                                          const OxProceduralContext_v1* context,
                                          OxAttributeStruct* procedural, OxProceduralForm form,
                                          OxProceduralError onError, void* user) {
    return Enter("getProceduralArguments", [&] {
        const Producer producer = OxHandleToGeometryProducer(location);
        const ProceduralCall call{onError, user};
        const ScopedProceduralCall scope(call);
        ProceduralOutputContextInfo info = ToContext(context);
        const auto build = form == kOxProceduralAttributes
                               ? BuildScenegraphAttrProceduralArgumentsString
                               : BuildClassicProceduralArgumentsString;
        return TextToC(build(producer, info, Attribute::CreateAndRetain(procedural),
                             onError ? TellError : nullptr));
    });
}

} // namespace

void FillProceduralSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 0, getProceduralArguments, GetProceduralArguments);
}

} // namespace TELLAR::RenderOutputUtilsHost
