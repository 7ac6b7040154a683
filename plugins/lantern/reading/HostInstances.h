#ifndef LANTERN_READING_HOSTINSTANCES_H
#define LANTERN_READING_HOSTINSTANCES_H

#include <cstdint>
#include <vector>

#include "SceneTypes.h"
#include "reading/Location.h"

namespace lantern {

/// The locations below a location as instances of prototypes, as far as the host knows them without
/// cooking them; or none.
class HostInstances {
public:
    HostInstances(const Suites& suites, const Location& location);
    ~HostInstances();
    HostInstances(const HostInstances&) = delete;
    HostInstances& operator=(const HostInstances&) = delete;

    explicit operator bool() const { return handle != nullptr; }
    std::int64_t count() const;
    std::int64_t prototypeCount() const;
    Location prototype(std::int64_t index) const;
    /// The path of an instance, which cooks it.
    std::string pathOf(std::int64_t index) const;

    /// An instance's prototype, and its matrix to the space of the location that was asked.
    struct Placed {
        std::int64_t prototype = 0;
        M44d matrix;
    };
    /// The instances from `begin` up to and without `end`. Throws RenderError.
    std::vector<Placed> read(std::int64_t begin, std::int64_t end) const;

private:
    const Suites& suites;
    OxInstancesStruct* handle;
};

} // namespace lantern

#endif
