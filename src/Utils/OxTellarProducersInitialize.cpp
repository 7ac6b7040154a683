#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include <cstring>

#include "OxRenderOutputUtilsHost.h"
#include "OxScenegraphIteratorHost.h"

namespace {

constexpr int kNoHost = -1;

using RegisterSuite = int (*)(const void* suite, const char* apiName, unsigned int apiVersion);

/// The eleventh pointer-sized member of a host's record.
RegisterSuite GetRegisterSuite(const OxPluginHost* host) {
    RegisterSuite registerSuite = nullptr;
    static_assert(sizeof registerSuite == sizeof(void*));
    std::memcpy(&registerSuite, reinterpret_cast<const char*>(host) + 10 * sizeof(void*),
                sizeof registerSuite);
    return registerSuite;
}

} // namespace

int _tellar3_dummy_dll_export = 0;

int OxTellarProducersInitialize(OxPluginHost* host) {
    const RegisterSuite registerSuite = host ? GetRegisterSuite(host) : nullptr;
    if (!registerSuite) return kNoHost;
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v3(), OX_SCENEGRAPH_ITERATOR_HOST_SUITE,
                  3);
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v2(), OX_SCENEGRAPH_ITERATOR_HOST_SUITE,
                  2);
    return registerSuite(TELLAR::GetRenderOutputUtilsHostSuite_v3(),
                         OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
}
