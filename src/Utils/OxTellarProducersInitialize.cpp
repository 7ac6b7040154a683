#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include <cstring>

#include "OxRenderOutputUtilsHost.h"
#include "OxScenegraphIteratorHost.h"

namespace {

/// The beginning of a host's record.
struct HostRecord {
    void* others[10];
    int (*registerSuite)(const void* suite, const char* apiName, unsigned int apiVersion);
};

} // namespace

int _tellar3_dummy_dll_export = 0;

int OxTellarProducersInitialize(OxPluginHost* host) {
    HostRecord record{};
    if (host) std::memcpy(&record, host, sizeof record);
    const auto registerSuite = record.registerSuite;
    if (!registerSuite) return -1;
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v3(), OX_SCENEGRAPH_ITERATOR_HOST_SUITE,
                  3);
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v2(), OX_SCENEGRAPH_ITERATOR_HOST_SUITE,
                  2);
    return registerSuite(TELLAR::GetRenderOutputUtilsHostSuite_v3(),
                         OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
}
