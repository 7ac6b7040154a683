#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

#include <typeinfo>

#include "ProducerTree.h"

namespace TELLAR {

/// Cooks through the calling thread's client. A thread that gets no client sees no location.
class ThreadAwareAccess {
    using Client = std::shared_ptr<TellarRuntime::Client>;

public:
    explicit ThreadAwareAccess(boost::shared_ptr<ThreadLocalClient> threadLocalClient)
        : source(std::move(threadLocalClient)),
          isDerived(!source || typeid(*source) != typeid(ThreadLocalClient)) {}

    std::shared_ptr<TellarRuntime::Client> getClient() const { return source->getClient(); }

    template <typename Target>
    TellarRuntime::LocationData get(const Target& target, bool evict) const {
        Client room;
        if (evict)
            if (const Client& client = getClient(room)) client->getRuntime()->evict(target.path());
        const Client& client = getClient(room);
        return client ? target.cook(*client) : TellarRuntime::LocationData();
    }

private:
    /// `room` keeps a client that the thread does not keep itself.
    const Client& getClient(Client& room) const {
        if (!isDerived) return source->getHeldClient();
        return room = source->getClient();
    }

    const boost::shared_ptr<ThreadLocalClient> source;
    const bool isDerived; // a class of others may give another client each time
};

ProducerTree::Ptr MakeThreadAwareTree(boost::shared_ptr<ThreadLocalClient> threadLocalClient) {
    return new ProducerTreeOf<ThreadAwareGeometryProducer, ThreadAwareAccess>(
        std::move(threadLocalClient));
}

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(
    boost::shared_ptr<ThreadLocalClient> treeClient, std::string path,
    TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : ThreadAwareGeometryProducer(PartsFromCaller(MakeThreadAwareTree(std::move(treeClient)),
                                                  std::move(path), std::move(data), index,
                                                  std::move(parentProducer))) {}

ThreadAwareGeometryProducer::ThreadAwareGeometryProducer(ProducerParts&& parts)
    : ClientGeometryProducer(std::move(parts)) {}

ThreadAwareGeometryProducer::~ThreadAwareGeometryProducer() = default;

} // namespace TELLAR
