#ifndef TELLAR_TOOL_LOCATIONPRINTER_H
#define TELLAR_TOOL_LOCATIONPRINTER_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTool {

/// A location as a walk meets it.
struct Visit {
    TELLAR::GeometryProducer& location;
    /// For every level below the start down to this location: whether no sibling follows there.
    /// Empty at the start.
    const std::vector<bool>& isLast;
    bool hasChildren;
    /// The children, if any, are beyond the depth asked for.
    bool isDepthLimit;

    std::size_t depth() const { return isLast.size(); }
};

/// Writes locations as text. Immutable: any number of threads may share one.
class LocationPrinter {
public:
    virtual ~LocationPrinter();
    /// Appends what stands in front of the children's text.
    virtual void open(const Visit& visit, std::string& out) const = 0;
    /// Appends what stands behind it.
    virtual void close(const Visit& visit, std::string& out) const = 0;
};

struct PrintOptions {
    /// Empty: all attributes; else one by its dotted name. Absent: none.
    std::optional<std::string> attributes;
    bool worldMatrix = false;
    bool utf8 = false;
    bool colours = false;
};

/// Lines of a tree for people.
std::unique_ptr<LocationPrinter> MakeTreePrinter(const PrintOptions& options);
/// One JSON document.
std::unique_ptr<LocationPrinter> MakeJsonPrinter(const PrintOptions& options);
/// Nothing.
std::unique_ptr<LocationPrinter> MakeQuietPrinter();

/// The world matrix at time 0; invalid when nothing from the root down has a transform.
OxAttribute::DoubleAttribute WorldMatrix(TELLAR::GeometryProducer& location);

} // namespace TellarTool

#endif
