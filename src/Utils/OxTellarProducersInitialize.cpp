#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include <cstring>

#include "OxRenderOutputUtilsHost.h"
#include "OxScenegraphIteratorHost.h"
#include "Validation.h"

namespace {

/// The beginning of a host's record.
struct HostRecord {
    void* others[10];
    int (*registerSuite)(const void* suite, const char* apiName, unsigned int apiVersion);
};

} // namespace

int _tellar3_dummy_dll_export = 0;

int OxTellarProducersInitialize(OxPluginHost* host) {
    constexpr const char* kIterators = OX_SCENEGRAPH_ITERATOR_HOST_SUITE;
    constexpr const char* kUtils = OX_RENDER_OUTPUT_UTILS_HOST_SUITE;
    HostRecord record{};
    if (host) std::memcpy(&record, host, sizeof record);
    const auto registerSuite = record.registerSuite;
    if (!registerSuite) return -1;
    TELLAR::InstallValidation();
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v3(), kIterators, 3);
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v2(), kIterators, 2);
    const int status = registerSuite(TELLAR::GetRenderOutputUtilsHostSuite_v3(), kUtils, 3);
    registerSuite(TELLAR::GetScenegraphIteratorHostSuite_v4(), kIterators, 4);
    registerSuite(TELLAR::GetRenderOutputUtilsHostSuite_v4(), kUtils, 4);
    return status;
}
