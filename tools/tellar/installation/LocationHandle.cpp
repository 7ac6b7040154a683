#include "LocationHandle.h"

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxSgIterator.h>

namespace TellarTool {

LocationHandle::LocationHandle(const TELLAR::GeometryProducer::Ptr& location)
    : LocationHandle(location,
                     *static_cast<const OxScenegraphIteratorHostSuite_v3*>(
                         OxGetPluginHost()->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3))) {}

LocationHandle::LocationHandle(const TELLAR::GeometryProducer::Ptr& location,
                               const OxScenegraphIteratorHostSuite_v3& suite)
    : suite(suite), handle(TELLAR::OxGeometryProducerToHandle(location)) {
    if (handle) suite.retainIterator(handle);
}

LocationHandle::~LocationHandle() {
    if (handle) suite.releaseIterator(handle);
}

} // namespace TellarTool
