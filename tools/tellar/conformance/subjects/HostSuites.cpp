#include "HostSuites.h"

#include <atomic>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarSDK/SuiteFilter.h>

namespace TellarTool {

namespace {

std::atomic<const void*> iteratorSuite3{nullptr};
std::atomic<const void*> iteratorSuite4{nullptr};

/// The table, which becomes known when someone asks for it.
const void* Kept(const std::atomic<const void*>& kept, unsigned int version) {
    if (!kept) OxGetPluginHost()->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, version);
    return kept;
}

} // namespace

void KeepHostSuites() {
    OxPluginManager::AddSuiteFilter([](const OxPluginManager::SuiteOffer& offer) {
        if (offer.apiName == OX_SCENEGRAPH_ITERATOR_HOST_SUITE && offer.pluginName.empty()) {
            if (offer.apiVersion == 3) iteratorSuite3 = offer.suite;
            if (offer.apiVersion == 4) iteratorSuite4 = offer.suite;
        }
        return offer.suite;
    });
}

const OxScenegraphIteratorHostSuite_v3& IteratorSuite3() {
    return *static_cast<const OxScenegraphIteratorHostSuite_v3*>(Kept(iteratorSuite3, 3));
}

const OxScenegraphIteratorHostSuite_v4& IteratorSuite4() {
    return *static_cast<const OxScenegraphIteratorHostSuite_v4*>(Kept(iteratorSuite4, 4));
}

} // namespace TellarTool
