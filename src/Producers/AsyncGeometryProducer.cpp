#include <OxTellarProducers/AsyncGeometryProducer.h>

#include "ProducerTree.h"

namespace TELLAR {

namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

/// Gets what the runtime of the tree's one client has cooked.
class AsyncAccess {
public:
    explicit AsyncAccess(std::shared_ptr<TellarRuntime::Client> treeClient)
        : client(std::move(treeClient)) {}

    const std::shared_ptr<TellarRuntime::Client>& getClient() const { return client; }

    template <typename Target>
    TellarRuntime::LocationData get(const Target& target, bool) const {
        TellarRuntime::LocationData data = target.getCached(*client);
        return data.isValid() ? data : Absent();
    }

private:
    static const TellarRuntime::LocationData& Absent() {
        static const TellarRuntime::LocationData* const absent = new TellarRuntime::LocationData(
            GroupAttribute({{"exists", IntAttribute(0)},
                            {"pc", StringAttribute(std::vector<std::string>(), 1)}},
                           true));
        return *absent;
    }

    const std::shared_ptr<TellarRuntime::Client> client;
};

} // namespace

ProducerTree::Ptr MakeAsyncTree(std::shared_ptr<TellarRuntime::Client> client) {
    return new ProducerTreeOf<AsyncGeometryProducer, AsyncAccess>(std::move(client));
}

AsyncGeometryProducer::AsyncGeometryProducer(
    std::shared_ptr<TellarRuntime::Client> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : AsyncGeometryProducer(PartsFromCaller(MakeAsyncTree(std::move(treeClient)), std::move(path),
                                            std::move(data), index, std::move(parentProducer))) {}

AsyncGeometryProducer::AsyncGeometryProducer(ProducerParts&& parts)
    : ClientGeometryProducer(std::move(parts)) {}

AsyncGeometryProducer::~AsyncGeometryProducer() = default;

} // namespace TELLAR
