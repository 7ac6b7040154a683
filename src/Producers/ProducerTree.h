#ifndef OXTELLARPRODUCERS_PRODUCERTREE_H
#define OXTELLARPRODUCERS_PRODUCERTREE_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarProducers/ThreadLocalClient.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "LocationTarget.h"

namespace TELLAR {

/// The part that all producers of one tree share: the client, the way to location data, and the
/// class of the producers.
///
/// Producers that a caller or a factory made own the tree. Those that navigation makes below them
/// borrow it: they keep their ancestors alive anyway, and threads that walk one tree would spend
/// their time counting references to it.
///
/// Threads: immutable.
class ProducerTree : public boost::intrusive_ref_counter<ProducerTree, boost::thread_safe_counter> {
public:
    using Ptr = boost::intrusive_ptr<const ProducerTree>;

    virtual ~ProducerTree() = default;
    virtual std::shared_ptr<TellarRuntime::Client> getClient() const = 0;
    virtual TellarRuntime::LocationData getLocation(const std::string& path, bool evict) const = 0;
    virtual TellarRuntime::LocationData getChild(const ChildByIndex& child, bool evict) const = 0;
    virtual boost::intrusive_ptr<BaseGeometryProducer>
    makeProducer(ProducerParts&& parts) const = 0;
};

/// The tree of producers of one class. `Access` owns the client and has two functions: getClient(),
/// and get(target, evict) for the data of a LocationByPath or a ChildByIndex.
template <typename Producer, typename Access>
class ProducerTreeOf final : public ProducerTree {
public:
    template <typename... Args>
    explicit ProducerTreeOf(Args&&... args) : access(std::forward<Args>(args)...) {}

    std::shared_ptr<TellarRuntime::Client> getClient() const override { return access.getClient(); }
    TellarRuntime::LocationData getLocation(const std::string& path, bool evict) const override {
        return access.get(LocationByPath(path), evict);
    }
    TellarRuntime::LocationData getChild(const ChildByIndex& child, bool evict) const override {
        return access.get(child, evict);
    }
    boost::intrusive_ptr<BaseGeometryProducer> makeProducer(ProducerParts&& parts) const override {
        return new Producer(std::move(parts));
    }

private:
    const Access access;
};

ProducerTree::Ptr MakeSyncTree(std::shared_ptr<TellarRuntime::Client> client);
ProducerTree::Ptr MakeAsyncTree(std::shared_ptr<TellarRuntime::Client> client);
ProducerTree::Ptr MakeThreadAwareTree(boost::shared_ptr<ThreadLocalClient> threadLocalClient);

/// The content of a new producer of a tree, of one of three origins:
///
/// - navigation: named by its index among the parent's potential children, borrows the tree;
/// - a factory: named by `pathEnd`, which is the whole path at the top, at no known index;
/// - a caller, who may derive a class and give any path with any data: `pathEnd` is the whole path.
struct ProducerParts {
    boost::intrusive_ptr<BaseGeometryProducer> parent; // null at the top
    TellarRuntime::LocationData data;
    std::int64_t index = -1;
    const ProducerTree* tree = nullptr;
    ProducerTree::Ptr ownedTree = nullptr;
    std::unique_ptr<const std::string> pathEnd = nullptr;
    bool isFromCaller = false;
};

/// For a constructor or createChild.
ProducerParts PartsFromCaller(ProducerTree::Ptr tree, std::string path,
                              TellarRuntime::LocationData data, std::int64_t index,
                              boost::intrusive_ptr<BaseGeometryProducer> parent);

} // namespace TELLAR

#endif
