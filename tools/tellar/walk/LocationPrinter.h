#ifndef TELLAR_TOOL_LOCATIONPRINTER_H
#define TELLAR_TOOL_LOCATIONPRINTER_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTool {

/// A location and its place in a walk.
struct Visit {
    TELLAR::GeometryProducer& location;
    /// For each level from the one below the start down to this location, whether the location on
    /// that level is the last of its siblings. Empty at the start.
    const std::vector<bool>& isLast;
    bool hasChildren;
    /// The walk goes no deeper, whether there are children or not.
    bool isDepthLimit;

    std::size_t depth() const { return isLast.size(); }
};

/// Writes locations as text. Immutable: any number of threads may share one.
class LocationPrinter {
public:
    virtual ~LocationPrinter();
    /// Appends the text in front of that of the children.
    virtual void open(const Visit& visit, std::string& out) const = 0;
    /// Appends the text behind that of the children.
    virtual void close(const Visit& visit, std::string& out) const = 0;
};

struct PrintOptions {
    /// The dotted name of the attribute to print. Empty for all attributes, absent for none.
    std::optional<std::string> attributes;
    bool worldMatrix = false;
    bool utf8 = false;
    bool colours = false;
};

/// Prints a tree for people, with a line for each location.
std::unique_ptr<LocationPrinter> MakeTreePrinter(const PrintOptions& options);
/// Prints one JSON document.
std::unique_ptr<LocationPrinter> MakeJsonPrinter(const PrintOptions& options);
/// Prints nothing.
std::unique_ptr<LocationPrinter> MakeQuietPrinter();

/// The world matrix at time 0; invalid when nothing from the root down has a transform.
OxAttribute::DoubleAttribute WorldMatrix(TELLAR::GeometryProducer& location);

} // namespace TellarTool

#endif
