#ifndef TELLAR_TOOL_LOCATIONHANDLE_H
#define TELLAR_TOOL_LOCATIONHANDLE_H

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

namespace TellarTool {

/// Owns a handle for plug-ins onto a location. Needs SetUpPluginHost.
class LocationHandle {
public:
    /// Null gives null.
    explicit LocationHandle(const TELLAR::GeometryProducer::Ptr& location);
    /// The same by a table of the caller, which lives as long as the process.
    LocationHandle(const TELLAR::GeometryProducer::Ptr& location,
                   const OxScenegraphIteratorHostSuite_v3& suite);
    ~LocationHandle();
    LocationHandle(const LocationHandle&) = delete;
    LocationHandle& operator=(const LocationHandle&) = delete;

    OxSgIteratorStruct* get() const { return handle; }

private:
    const OxScenegraphIteratorHostSuite_v3& suite;
    OxSgIteratorStruct* const handle;
};

} // namespace TellarTool

#endif
