#include <OxTellarProducers/SyncGeometryProducer.h>

namespace TELLAR {

SyncGeometryProducer::SyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      client(std::move(treeClient)) {}

SyncGeometryProducer::~SyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> SyncGeometryProducer::getClient() {
    return client;
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
    return new SyncGeometryProducer(client, std::move(path), std::move(data), index,
                                    std::move(parentProducer));
}

} // namespace TELLAR
