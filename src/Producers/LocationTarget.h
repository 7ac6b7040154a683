#ifndef OXTELLARPRODUCERS_LOCATIONTARGET_H
#define OXTELLARPRODUCERS_LOCATIONTARGET_H

#include <cstdint>
#include <string>
#include <type_traits>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "LocationNames.h"

// The two ways of naming a location to a client of the platform: LocationByPath and ChildByIndex.
// Each can cook the location, or get what the client's runtime has cooked.

namespace TELLAR {

/// Whether clients find children from their parent's data. Those of a platform that stands in for
/// ours may not; each location is then asked for by its path.
template <typename Client, typename = void>
inline constexpr bool kFindsChildrenByIndex = false;
template <typename Client>
inline constexpr bool kFindsChildrenByIndex<
    Client, std::void_t<decltype(&Client::cookChild), decltype(&Client::getCachedChild)>> = true;

class LocationByPath {
public:
    explicit LocationByPath(const std::string& locationPath) : location(locationPath) {}

    const std::string& path() const { return location; }
    template <typename Client>
    TellarRuntime::LocationData cook(Client& client) const {
        return client.cookLocation(location);
    }
    template <typename Client>
    TellarRuntime::LocationData getCached(Client& client) const {
        return client.getCachedLocation(location);
    }

private:
    const std::string& location;
};

/// A potential child of a producer. Its path is put together only for a client that needs it.
class ChildByIndex {
public:
    ChildByIndex(BaseGeometryProducer& parentProducer, const TellarRuntime::LocationData& data,
                 std::int64_t childIndex)
        : parent(parentProducer), parentData(data), index(childIndex) {}

    std::string path() const {
        return ChildPath(parent.getFullName(),
                         parentData.getPotentialChildren().getValueView(index));
    }
    template <typename Client>
    TellarRuntime::LocationData cook(Client& client) const {
        if constexpr (kFindsChildrenByIndex<Client>) {
            TellarRuntime::LocationData data = client.cookChild(parentData, index);
            if (data.isValid()) return data;
        }
        return client.cookLocation(path());
    }
    template <typename Client>
    TellarRuntime::LocationData getCached(Client& client) const {
        if constexpr (kFindsChildrenByIndex<Client>) {
            TellarRuntime::LocationData data = client.getCachedChild(parentData, index);
            if (data.isValid()) return data;
        }
        return client.getCachedLocation(path());
    }

private:
    BaseGeometryProducer& parent;
    const TellarRuntime::LocationData& parentData;
    const std::int64_t index;
};

} // namespace TELLAR

#endif
