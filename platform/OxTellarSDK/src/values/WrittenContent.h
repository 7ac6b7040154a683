#ifndef OXTELLARSDK_WRITTENCONTENT_H
#define OXTELLARSDK_WRITTENCONTENT_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// A writer's cache from the hash of content to a T, whose default value means that nothing is
/// known. Its size is fixed, because equal parts of a large scene stand near each other.
/// New content evicts what was in its place.
template <typename T, std::size_t kPlaces>
class WrittenContent {
public:
    WrittenContent()
        : places(static_cast<Place*>(std::calloc(kPlaces, sizeof(Place))), &std::free) {
        if (!places) throw std::bad_alloc();
    }

    /// Null if the content is not in the cache.
    T* find(const Hash& hash) {
        Place& place = at(hash);
        return place.isUsed && place.hash == hash ? &place.value : nullptr;
    }
    T& remember(const Hash& hash, const T& value) {
        Place& place = at(hash);
        place = {hash, value, true};
        return place.value;
    }

private:
    struct Place {
        Hash hash;
        T value;
        bool isUsed;
    };
    Place& at(const Hash& hash) { return places.get()[hash.words[1] % kPlaces]; }

    std::unique_ptr<Place, decltype(&std::free)> places;
};

} // namespace OxAttribute

#endif
