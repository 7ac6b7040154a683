#ifndef OXTELLARSDK_MAPPEDREGIONS_H
#define OXTELLARSDK_MAPPEDREGIONS_H

#include <cstdint>
#include <memory>

namespace OxAttribute {

/// The part of the address space in which an open file is mapped.
///
/// When a mapped file becomes shorter, or its disk fails, the system sends SIGBUS to the thread
/// that touches a page that cannot be read. While a region lives, a handler of that signal puts
/// zeros in the place of such pages, and the region is lost: its owner must give an error for all
/// that it still reads. Signals for other addresses go to the handler that was there before.
class MappedRegion {
public:
    /// Guards the bytes of a file, which must be mapped already, until it is destroyed; the
    /// descriptor must stay open until then. Installs the handler if it is not there. Throws
    /// std::runtime_error with the system's reason when that fails, and std::bad_alloc.
    MappedRegion(const char* start, std::uint64_t bytes, int descriptor);
    ~MappedRegion();
    MappedRegion(const MappedRegion&) = delete;
    MappedRegion& operator=(const MappedRegion&) = delete;

    /// True when bytes of the region were replaced by zeros. Safe from any thread.
    bool isLost() const;

private:
    struct Place;
    friend struct RegionAccess;
    Place* place;
};

} // namespace OxAttribute

#endif
