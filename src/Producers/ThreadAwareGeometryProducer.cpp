#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

#include <typeinfo>

#include "NavigationPool.h"

namespace TELLAR {

namespace {

using Client = std::shared_ptr<TellarRuntime::Client>;

void Evict(const Client& client, const std::string& path) {
    if (client) client->getRuntime()->evict(path);
}

/// A thread that gets no client sees no location.
TellarRuntime::LocationData Cook(const Client& client, const std::string& path) {
    return client ? client->cookLocation(path) : TellarRuntime::LocationData();
}

/// Whether it is no class derived from ThreadLocalClient; false for null.
bool IsPlain(const ThreadLocalClient* client) {
    return client && typeid(*client) == typeid(ThreadLocalClient);
}

} // namespace

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(
    boost::shared_ptr<ThreadLocalClient> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(std::move(path), std::move(data), index, std::move(parentProducer)),
      owner(std::move(treeClient)), threadLocalClient(owner.get()),
      isPlainClient(IsPlain(owner.get())) {}

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(ThreadAwareGeometryProducer& maker,
                                                         PooledPath& path,
                                                         TellarRuntime::LocationData&& data,
                                                         std::int64_t index)
    : BaseGeometryProducer(&MakeChild, maker, path, std::move(data), index),
      threadLocalClient(maker.threadLocalClient), isPlainClient(maker.isPlainClient) {}

ThreadAwareGeometryProducer::~ThreadAwareGeometryProducer() = default;

std::shared_ptr<TellarRuntime::Client> ThreadAwareGeometryProducer::getClient() {
    return threadLocalClient->getClient();
}

TellarRuntime::LocationData ThreadAwareGeometryProducer::getLocationData(const std::string& path,
                                                                         bool evict) {
    if (isPlainClient) {
        // Not counted: the thread keeps it.
        const Client& client = threadLocalClient->getHeldClient();
        if (evict) Evict(client, path);
        return Cook(client, path);
    }
    if (evict) Evict(threadLocalClient->getClient(), path);
    return Cook(threadLocalClient->getClient(), path);
}

GeometryProducer::Ptr ThreadAwareGeometryProducer::createChild(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer) {
    if (parentProducer != this)
        return new ThreadAwareGeometryProducer(
            static_cast<ThreadAwareGeometryProducer&>(getClientOwner()).owner, std::move(path),
            std::move(data), index, std::move(parentProducer));
    PooledPath pooled;
    *pooled = std::move(path);
    return new ThreadAwareGeometryProducer(*this, pooled, std::move(data), index);
}

GeometryProducer::Ptr ThreadAwareGeometryProducer::MakeChild(BaseGeometryProducer& maker,
                                                             PooledPath& path,
                                                             TellarRuntime::LocationData&& data,
                                                             std::int64_t index) {
    return new ThreadAwareGeometryProducer(static_cast<ThreadAwareGeometryProducer&>(maker), path,
                                           std::move(data), index);
}

} // namespace TELLAR
