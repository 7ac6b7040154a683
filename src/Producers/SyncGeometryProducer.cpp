#include <OxTellarProducers/SyncGeometryProducer.h>

#include "ProducerTree.h"

namespace TELLAR {

namespace {

/// Cooks through the tree's one client.
class SyncAccess {
public:
    explicit SyncAccess(std::shared_ptr<TellarRuntime::Client> treeClient)
        : client(std::move(treeClient)) {}

    const std::shared_ptr<TellarRuntime::Client>& getClient() const { return client; }

    template <typename Target>
    TellarRuntime::LocationData get(const Target& target, bool evict) const {
        if (evict) client->getRuntime()->evict(target.path());
        return target.cook(*client);
    }

private:
    const std::shared_ptr<TellarRuntime::Client> client;
};

} // namespace

ProducerTree::Ptr MakeSyncTree(std::shared_ptr<TellarRuntime::Client> client) {
    return new ProducerTreeOf<SyncGeometryProducer, SyncAccess>(std::move(client));
}

SyncGeometryProducer::SyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : SyncGeometryProducer(PartsFromCaller(MakeSyncTree(std::move(treeClient)), std::move(path),
                                           std::move(data), index, std::move(parentProducer))) {}

SyncGeometryProducer::SyncGeometryProducer(ProducerParts&& parts)
    : ClientGeometryProducer(std::move(parts)) {}

SyncGeometryProducer::~SyncGeometryProducer() = default;

} // namespace TELLAR
