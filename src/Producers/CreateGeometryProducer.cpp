#include <OxTellarProducers/CreateGeometryProducer.h>

#include <memory>
#include <vector>

#include <boost/make_shared.hpp>

#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarProducers/ThreadLocalClient.h>

#include "ProducerTree.h"

namespace TELLAR {

namespace {

using Ptr = boost::intrusive_ptr<GeometryProducer>;
using Client = std::shared_ptr<TellarRuntime::Client>;

bool IsAbsolute(const std::string& path) {
    return !path.empty() && path[0] == '/';
}

/// Makes the producers from the topmost location down to `path`. `nextTree` gives the tree of each.
/// Paths may be of any depth.
template <typename NextTree>
Ptr CreateDownTo(const std::string& path, NextTree nextTree) {
    if (!IsAbsolute(path)) return nullptr;
    boost::intrusive_ptr<BaseGeometryProducer> producer;
    std::size_t slash = 0;
    do {
        const std::size_t end = path.find('/', slash + 1);
        const std::string location = path.substr(0, end);
        ProducerTree::Ptr tree = nextTree();
        ProducerParts parts{producer, tree->getLocation(location, false), -1, tree.get()};
        if (!parts.data.doesLocationExist()) return nullptr;
        parts.ownedTree = tree;
        const std::size_t start = producer ? slash + 1 : 0;
        parts.pathEnd = std::make_unique<const std::string>(location.substr(start));
        producer = tree->makeProducer(std::move(parts));
        slash = end;
    } while (slash != std::string::npos);
    return producer;
}

} // namespace

Ptr CreateSyncGeometryProducer(const Client& client, const std::string& locationPath) {
    if (!client) return nullptr;
    return CreateDownTo(locationPath, [tree = MakeSyncTree(client)] { return tree; });
}

Ptr CreateAsyncGeometryProducer(const Client& client, const std::string& locationPath) {
    if (!client) return nullptr;
    return CreateDownTo(locationPath, [tree = MakeAsyncTree(client)] { return tree; });
}

/// Every location gets a thread-local client of its own, made from the location asked for up;
/// then the locations are cooked from the topmost one down.
Ptr CreateThreadAwareGeometryProducer(const OpTreeSource& source, const std::string& locationPath) {
    if (!IsAbsolute(locationPath)) return nullptr;
    std::vector<ProducerTree::Ptr> trees;
    for (std::size_t end = locationPath.size(); end != 0; end = locationPath.rfind('/', end - 1))
        trees.push_back(MakeThreadAwareTree(boost::make_shared<ThreadLocalClient>(source)));
    return CreateDownTo(locationPath, [&trees] {
        ProducerTree::Ptr tree = std::move(trees.back());
        trees.pop_back();
        return tree;
    });
}

Ptr CreateThreadAwareGeometryProducer(const std::string& opTreeFile,
                                      const std::string& locationPath) {
    return CreateThreadAwareGeometryProducer(OpTreeSource::createFromFile(opTreeFile),
                                             locationPath);
}

Ptr CreateThreadAwareGeometryProducer(const OxAttribute::GroupAttribute& opTreeDescription,
                                      const std::string& locationPath) {
    return CreateThreadAwareGeometryProducer(
        OpTreeSource::createFromGroupAttribute(opTreeDescription), locationPath);
}

Ptr CreateStaticGeometryProducer(const std::string& locationPath,
                                 const OxAttribute::GroupAttribute& group, Ptr parent) {
    if (!IsAbsolute(locationPath) || !group.isValid()) return nullptr;
    return new StaticGeometryProducer(locationPath, group, -1, std::move(parent));
}

} // namespace TELLAR
