#ifndef OXTELLARPRODUCERS_RENDERWATCH_H
#define OXTELLARPRODUCERS_RENDERWATCH_H

#include <atomic>

#include <OxTellarProducers/OxRendererPluginSuite2.h>

#include "Validator.h"

namespace TELLAR {

/// A listener in front of the caller's one, for one render. It tells the validator when it is
/// called after the end of the render, which is not passed on, and by two threads at once.
///
/// It lives as long as the process, because a faulty renderer may call it at any time.
class RenderWatch {
public:
    /// Begins a render of the plug-in.
    static RenderWatch& Begin(Validator& validator, const std::string& plugin);
    /// Ends it, when the plug-in may not call any more.
    void end();

    OxRenderListener_v1 watch(const OxRenderListener_v1& listener);
    OxRenderListener_v2 watch(const OxRenderListener_v2& listener);

private:
    RenderWatch(Validator& validator, int render) : validator(validator), render(render) {}

    /// Calls a function of the caller's listener.
    template <typename Function>
    void tell(const char* name, const Function& function);

    Validator& validator;
    const int render;
    OxRenderListener_v1 v1{};
    OxRenderListener_v2 v2{};
    std::atomic<bool> isOver{false};
    std::atomic<bool> isBusy{false};
};

} // namespace TELLAR

#endif
