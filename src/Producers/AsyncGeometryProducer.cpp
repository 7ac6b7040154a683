#include <OxTellarProducers/AsyncGeometryProducer.h>

#include "NavigationPool.h"

using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

AsyncGeometryProducer::AsyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      owner(std::move(treeClient)), client(owner.get()) {}

AsyncGeometryProducer::AsyncGeometryProducer(AsyncGeometryProducer& maker, PooledPath& path,
                                             TellarRuntime::LocationData&& data, std::int64_t index)
    : BaseGeometryProducer(&MakeChild, maker, path, std::move(data), index), client(maker.client) {}

AsyncGeometryProducer::~AsyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> AsyncGeometryProducer::getClient() {
    return static_cast<AsyncGeometryProducer&>(getClientOwner()).owner;
}

TellarRuntime::LocationData AsyncGeometryProducer::getLocationData(const std::string& path, bool) {
    TellarRuntime::LocationData data = client->getCachedLocation(path);
    if (data.isValid()) return data;
    static const TellarRuntime::LocationData* const absent =
        new TellarRuntime::LocationData(GroupAttribute(
            {{"exists", IntAttribute(0)}, {"pc", StringAttribute(std::vector<std::string>(), 1)}},
            true));
    return *absent;
}

GeometryProducer::Ptr
AsyncGeometryProducer::createChild(std::string path, TellarRuntime::LocationData data,
                                   std::int64_t index,
                                   boost::intrusive_ptr<BaseGeometryProducer> parentProducer) {
    if (parentProducer != this)
        return new AsyncGeometryProducer(
            static_cast<AsyncGeometryProducer&>(getClientOwner()).owner, std::move(path),
            std::move(data), index, std::move(parentProducer));
    PooledPath pooled;
    *pooled = std::move(path);
    return new AsyncGeometryProducer(*this, pooled, std::move(data), index);
}

GeometryProducer::Ptr AsyncGeometryProducer::MakeChild(BaseGeometryProducer& maker,
                                                       PooledPath& path,
                                                       TellarRuntime::LocationData&& data,
                                                       std::int64_t index) {
    return new AsyncGeometryProducer(static_cast<AsyncGeometryProducer&>(maker), path,
                                     std::move(data), index);
}

} // namespace TELLAR
