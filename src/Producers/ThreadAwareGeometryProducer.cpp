#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

namespace TELLAR {

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(
    boost::shared_ptr<ThreadLocalClient> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      owner(std::move(treeClient)), threadLocalClient(owner.get()) {}

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(
    const ThreadAwareGeometryProducer& maker, std::string path, TellarRuntime::LocationData data,
    std::int64_t index, boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      threadLocalClient(maker.threadLocalClient) {}

ThreadAwareGeometryProducer::~ThreadAwareGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> ThreadAwareGeometryProducer::getClient() {
    return threadLocalClient->getClient();
}

TellarRuntime::LocationData ThreadAwareGeometryProducer::getLocationData(const std::string& path,
                                                                         bool evict) {
    if (evict)
        if (const auto client = threadLocalClient->getClient()) client->getRuntime()->evict(path);
    // A thread that gets no client sees no location.
    const auto client = threadLocalClient->getClient();
    return client ? client->cookLocation(path) : TellarRuntime::LocationData();
}

GeometryProducer::Ptr ThreadAwareGeometryProducer::createChild(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer) {
    return new ThreadAwareGeometryProducer(*this, std::move(path), std::move(data), index,
                                           std::move(parentProducer));
}

} // namespace TELLAR
