#ifndef TELLAR_TOOL_LOCATIONFILTER_H
#define TELLAR_TOOL_LOCATIONFILTER_H

#include <set>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/LocationPath.h>

namespace TellarTool {

/// Chooses locations by their types and paths. Immutable: any number of threads may share one.
class LocationFilter {
public:
    /// Without types, or without patterns, all are accepted. A pattern that does not begin with a
    /// slash is one of names. The type "mesh" stands for those of kMeshTypes. Throws
    /// std::runtime_error naming a pattern that is none.
    LocationFilter(std::vector<std::string> types, const std::vector<std::string>& patterns);

    bool matchesPath(TELLAR::GeometryProducer& location) const;
    bool matchesType(const std::string& type) const;
    bool matchesAnyOf(const std::set<std::string>& presentTypes) const;

private:
    std::vector<std::string> types;
    OxLocationPath::Patterns patterns;
};

constexpr const char* kAnyMesh = "mesh";
/// The location types that "mesh" stands for.
constexpr const char* kMeshTypes[] = {"polymesh", "subdmesh"};

} // namespace TellarTool

#endif
