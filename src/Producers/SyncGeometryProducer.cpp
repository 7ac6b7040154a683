#include <OxTellarProducers/SyncGeometryProducer.h>

#include "NavigationPool.h"

namespace TELLAR {

SyncGeometryProducer::SyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      owner(std::move(treeClient)), client(owner.get()) {}

SyncGeometryProducer::SyncGeometryProducer(SyncGeometryProducer& maker, PooledPath& path,
                                           TellarRuntime::LocationData&& data, std::int64_t index)
    : BaseGeometryProducer(&MakeChild, maker, path, std::move(data), index), client(maker.client) {}

SyncGeometryProducer::~SyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> SyncGeometryProducer::getClient() {
    return static_cast<SyncGeometryProducer&>(getClientOwner()).owner;
}

TellarRuntime::LocationData SyncGeometryProducer::getLocationData(const std::string& path,
                                                                  bool evict) {
    if (evict) client->getRuntime()->evict(path);
    return client->cookLocation(path);
}

GeometryProducer::Ptr
SyncGeometryProducer::createChild(std::string path, TellarRuntime::LocationData data,
                                  std::int64_t index,
                                  boost::intrusive_ptr<BaseGeometryProducer> parentProducer) {
    if (parentProducer != this)
        return new SyncGeometryProducer(static_cast<SyncGeometryProducer&>(getClientOwner()).owner,
                                        std::move(path), std::move(data), index,
                                        std::move(parentProducer));
    PooledPath pooled;
    *pooled = std::move(path);
    return new SyncGeometryProducer(*this, pooled, std::move(data), index);
}

GeometryProducer::Ptr SyncGeometryProducer::MakeChild(BaseGeometryProducer& maker, PooledPath& path,
                                                      TellarRuntime::LocationData&& data,
                                                      std::int64_t index) {
    return new SyncGeometryProducer(static_cast<SyncGeometryProducer&>(maker), path,
                                    std::move(data), index);
}

} // namespace TELLAR
