#include <OxTellarProducers/AsyncGeometryProducer.h>

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

AsyncGeometryProducer::AsyncGeometryProducer(
    const AsyncGeometryProducer& maker, std::string path, TellarRuntime::LocationData data,
    std::int64_t index, boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      client(maker.client) {}

AsyncGeometryProducer::~AsyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> AsyncGeometryProducer::getClient() {
    // What navigation made owns no client; what it was made from is of this variant too.
    const AsyncGeometryProducer* producer = this;
    while (!producer->owner && producer->client)
        producer = static_cast<const AsyncGeometryProducer*>(producer->getRawParentPtr());
    return producer->owner;
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
    return new AsyncGeometryProducer(*this, std::move(path), std::move(data), index,
                                     std::move(parentProducer));
}

} // namespace TELLAR
