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
    /// In world space, at time 0: around all points, and around the attribute "bound" of locations
    /// without points. Empty if there are none.
    Imath::Box3d bounds;

    void add(const Totals& other);
};

/// The totals of one location.
Totals TotalsOf(TELLAR::GeometryProducer& location);

/// Adds up what several threads find.
class SharedTotals {
public:
    void add(const Totals& found);
    /// Takes note of a location type that exists in the scene.
    void noteType(const std::string& type);

    // To be called when no thread adds any more.
    const Totals& get() const { return totals; }
    const std::set<std::string>& getTypes() const { return types; }

private:
    std::mutex lock; // guards what follows
    Totals totals;
    std::set<std::string> types;
};

/// Lines for people, and a JSON object.
std::string TotalsText(const Totals& totals);
std::string TotalsJson(const Totals& totals);

} // namespace TellarTool

#endif
