#include "reading/HostInstances.h"

#include <algorithm>

#include "reading/HostError.h"

namespace lantern {

HostInstances::HostInstances(const Suites& suites, const Location& location)
    : suites(suites), handle(suites.iterators().getInstances(location.get(), nullptr)) {}

HostInstances::~HostInstances() {
    suites.iterators().releaseInstances(handle);
}

std::int64_t HostInstances::count() const {
    return suites.iterators().getNumberOfInstances(handle);
}

std::int64_t HostInstances::prototypeCount() const {
    return suites.iterators().getNumberOfPrototypes(handle);
}

Location HostInstances::prototype(std::int64_t index) const {
    HostError error(suites);
    const Location owner =
        Location::owning(suites, suites.iterators().getPrototype(handle, index, error.slot()));
    return Location::retaining(suites, owner.get());
}

std::string HostInstances::pathOf(std::int64_t index) const {
    HostError error(suites);
    return Location::owning(suites, suites.iterators().getInstance(handle, index, error.slot()))
        .path();
}

std::vector<HostInstances::Placed> HostInstances::read(std::int64_t begin, std::int64_t end) const {
    const auto size = static_cast<std::size_t>(end - begin);
    std::vector<std::int64_t> prototypes(size);
    std::vector<double> matrices(16 * size);
    HostError error(suites);
    suites.iterators().readInstances(handle, begin, end, prototypes.data(), matrices.data(),
                                     error.slot());
    error.throwIfSet();
    std::vector<Placed> placed(size);
    for (std::size_t i = 0; i < size; ++i) {
        placed[i].prototype = prototypes[i];
        std::copy_n(matrices.data() + 16 * i, 16, placed[i].matrix.getValue());
    }
    return placed;
}

} // namespace lantern
