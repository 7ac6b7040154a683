#ifndef TELLAR_TOOL_TOTALS_H
#define TELLAR_TOOL_TOTALS_H

#include <cstdint>
#include <mutex>
#include <set>
#include <string>

#include <Imath/ImathBox.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTool {

/// The number of locations, and of the shapes in them.
struct Totals {
    std::uint64_t locations = 0;
    std::uint64_t polygons = 0;
    std::uint64_t curves = 0;
    std::uint64_t points = 0;
    /// A box in world space at time 0, around all points and around the attribute "bound" of
    /// locations without points. Empty if there are none.
    Imath::Box3d bounds;

    void add(const Totals& other);
};

/// The totals of one location.
Totals TotalsOf(TELLAR::GeometryProducer& location);

/// Adds up totals. Several threads may call add() and noteType() at once.
class SharedTotals {
public:
    void add(const Totals& found);
    /// Records a location type that exists in the scene.
    void noteType(const std::string& type);

    // The getters may be called only when no thread adds any more.
    const Totals& get() const { return totals; }
    const std::set<std::string>& getTypes() const { return types; }

private:
    std::mutex lock; // guards the members below
    Totals totals;
    std::set<std::string> types;
};

/// The totals as readable lines.
std::string TotalsText(const Totals& totals);
/// The totals as a JSON object.
std::string TotalsJson(const Totals& totals);

} // namespace TellarTool

#endif
