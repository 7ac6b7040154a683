#include <OxTellarProducers/SyncGeometryProducer.h>

namespace TELLAR {

SyncGeometryProducer::SyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      owner(std::move(treeClient)), client(owner.get()) {}

SyncGeometryProducer::SyncGeometryProducer(
    const SyncGeometryProducer& maker, std::string path, TellarRuntime::LocationData data,
    std::int64_t index, boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      client(maker.client) {}

SyncGeometryProducer::~SyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> SyncGeometryProducer::getClient() {
    // What navigation made owns no client; what it was made from is of this variant too.
    const SyncGeometryProducer* producer = this;
    while (!producer->owner && producer->client)
        producer = static_cast<const SyncGeometryProducer*>(producer->getRawParentPtr());
    return producer->owner;
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
    return new SyncGeometryProducer(*this, std::move(path), std::move(data), index,
                                    std::move(parentProducer));
}

} // namespace TELLAR
