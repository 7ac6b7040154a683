#include <OxTellarProducers/CreateGeometryProducer.h>

#include <vector>

#include <boost/make_shared.hpp>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarProducers/ThreadLocalClient.h>

namespace TELLAR {

namespace {

using Ptr = boost::intrusive_ptr<GeometryProducer>;
using Parent = boost::intrusive_ptr<BaseGeometryProducer>;
using Client = std::shared_ptr<TellarRuntime::Client>;

bool IsAbsolute(const std::string& path) {
    return !path.empty() && path[0] == '/';
}

/// Makes the producers from the topmost location down to `path` by make(path, parent), which
/// gives null for a location that does not exist. Not by recursion: paths come from anywhere.
template <typename Make>
Ptr CreateDownTo(const std::string& path, Make make) {
    if (!IsAbsolute(path)) return nullptr;
    Parent producer;
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        producer = make(path.substr(0, end), producer);
        if (!producer || end == std::string::npos) return producer;
    }
}

/// Every location gets a thread-local client of its own, made from the location asked for up;
/// then the locations are cooked from the topmost one down.
Ptr CreateThreadAware(const OpTreeSource& source, const std::string& path) {
    if (!IsAbsolute(path)) return nullptr;
    std::vector<boost::shared_ptr<ThreadLocalClient>> clients;
    for (std::size_t end = path.size(); end != 0; end = path.rfind('/', end - 1))
        clients.push_back(boost::make_shared<ThreadLocalClient>(source));
    return CreateDownTo(path, [&](const std::string& location, const Parent& parent) -> Parent {
        const auto threadLocalClient = clients.back();
        clients.pop_back();
        const Client client = threadLocalClient->getClient();
        if (!client) return nullptr;
        TellarRuntime::LocationData data = client->cookLocation(location);
        if (!data.doesLocationExist()) return nullptr;
        return new ThreadAwareGeometryProducer(threadLocalClient, location, std::move(data), -1,
                                               parent);
    });
}

} // namespace

Ptr CreateSyncGeometryProducer(const Client& client, const std::string& locationPath) {
    if (!client) return nullptr;
    return CreateDownTo(
        locationPath, [&](const std::string& location, const Parent& parent) -> Parent {
            TellarRuntime::LocationData data = client->cookLocation(location);
            if (!data.doesLocationExist()) return nullptr;
            return new SyncGeometryProducer(client, location, std::move(data), -1, parent);
        });
}

Ptr CreateAsyncGeometryProducer(const Client& client, const std::string& locationPath) {
    if (!client) return nullptr;
    return CreateDownTo(
        locationPath, [&](const std::string& location, const Parent& parent) -> Parent {
            TellarRuntime::LocationData data = client->getCachedLocation(location);
            if (!data.doesLocationExist()) return nullptr;
            return new AsyncGeometryProducer(client, location, std::move(data), -1, parent);
        });
}

Ptr CreateThreadAwareGeometryProducer(const std::string& opTreeFile,
                                      const std::string& locationPath) {
    return CreateThreadAware(OpTreeSource::createFromFile(opTreeFile), locationPath);
}

Ptr CreateThreadAwareGeometryProducer(const OxAttribute::GroupAttribute& opTreeDescription,
                                      const std::string& locationPath) {
    return CreateThreadAware(OpTreeSource::createFromGroupAttribute(opTreeDescription),
                             locationPath);
}

Ptr CreateStaticGeometryProducer(const std::string& locationPath,
                                 const OxAttribute::GroupAttribute& group, Ptr parent) {
    if (!IsAbsolute(locationPath) || !group.isValid()) return nullptr;
    return new StaticGeometryProducer(locationPath, group, -1, std::move(parent));
}

} // namespace TELLAR
