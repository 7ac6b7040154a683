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
    /// An empty list of types, or of patterns, accepts all. A pattern that does not begin with a
    /// slash is matched against names. The type "mesh" stands for all of kMeshTypes. Throws
    /// std::runtime_error naming an invalid pattern.
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
