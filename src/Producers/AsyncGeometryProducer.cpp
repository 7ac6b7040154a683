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
      client(std::move(treeClient)) {}

AsyncGeometryProducer::~AsyncGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> AsyncGeometryProducer::getClient() {
    return client;
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
    return new AsyncGeometryProducer(client, std::move(path), std::move(data), index,
                                     std::move(parentProducer));
}

} // namespace TELLAR
