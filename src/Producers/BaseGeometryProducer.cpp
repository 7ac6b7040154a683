#include <OxTellarProducers/BaseGeometryProducer.h>

#include <cstring>
#include <new>
#include <string_view>

#include "LocationNames.h"
#include "NavigationPool.h"
#include "ProducerTree.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

// Paths beyond this are rare. If each producer kept its whole path, those of one deep location
// would take memory in proportion to the square of its depth.
constexpr std::size_t kLongPath = 1024;

} // namespace

BaseGeometryProducer::BaseGeometryProducer(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : BaseGeometryProducer(PartsFromCaller(nullptr, std::move(path), std::move(data), index,
                                           std::move(parentProducer))) {}

BaseGeometryProducer::BaseGeometryProducer(ProducerParts&& parts)
    : GeometryProducer(std::move(parts.parent)), pathEnd(std::move(parts.pathEnd)),
      isWholePath(parts.isFromCaller), isFromCaller(parts.isFromCaller),
      locationData(std::move(parts.data)), childIndex(parts.index),
      ownedTree(std::move(parts.ownedTree)), tree(parts.tree) {
    if (isWholePath && pathEnd->size() > kLongPath) shortenPathEnd();
}

ProducerParts PartsFromCaller(ProducerTree::Ptr tree, std::string path,
                              TellarRuntime::LocationData data, std::int64_t index,
                              boost::intrusive_ptr<BaseGeometryProducer> parent) {
    ProducerParts parts{std::move(parent), std::move(data), index, tree.get()};
    parts.ownedTree = std::move(tree);
    parts.pathEnd = std::make_unique<const std::string>(std::move(path));
    parts.isFromCaller = true;
    return parts;
}

BaseGeometryProducer::~BaseGeometryProducer() = default;

void* BaseGeometryProducer::operator new(std::size_t bytes) {
    return NavigationPool::TakeMemory(bytes);
}

void BaseGeometryProducer::operator delete(void* memory, std::size_t bytes) noexcept {
    NavigationPool::GiveMemory(memory, bytes);
}

void BaseGeometryProducer::getAttributeNames(std::set<std::string>* names) {
    InsertChildNames(locationData.getAttrs(), names);
}

StringAttribute BaseGeometryProducer::getPotentialChildren() {
    return locationData.getPotentialChildren();
}

Attribute BaseGeometryProducer::getAttribute(const char* name) {
    return AttributeAt(locationData.getAttrs(), name);
}

std::string BaseGeometryProducer::getName() {
    const std::string_view end = getPathEnd();
    return isWholePath ? LeafName(end) : std::string(end.substr(end.rfind('/') + 1));
}

std::string BaseGeometryProducer::getFullName() {
    std::size_t bytes = 0;
    const BaseGeometryProducer* top = this;
    for (; top && !top->isWholePath; top = top->getBaseParent())
        bytes += 1 + top->getPathEnd().size();
    std::string path = top ? *top->pathEnd : std::string();
    bytes += path.size();
    path.resize(bytes);
    for (const BaseGeometryProducer* below = this; below != top; below = below->getBaseParent()) {
        const std::string_view end = below->getPathEnd();
        bytes -= end.size();
        if (!end.empty()) std::memcpy(&path[bytes], end.data(), end.size());
        path[--bytes] = '/';
    }
    return path;
}

std::string BaseGeometryProducer::getHash() {
    return locationData.getHash().str();
}

GeometryProducer::Ptr BaseGeometryProducer::getChildByName(const char* name, bool evict) {
    const std::string_view wanted = name ? name : "";
    if (wanted == "..") return getParent();
    if (wanted == ".") return this;
    RefuseDeepName(wanted);
    const StringAttribute children = getPotentialChildren();
    for (std::int64_t sample = 0; sample < children.getNumberOfTimeSamples(); ++sample) {
        const auto names = children.getSample(sample);
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (names[i] != wanted) continue;
            const auto index = static_cast<std::int64_t>(i);
            // Another sample than the one that is nearest to time 0 may have another name there.
            if (!isFromCaller && children.getValueView(index) == wanted)
                return getChildAt(index, evict);
            return getChildAt(index, ChildPath(getFullName(), wanted), evict);
        }
    }
    return nullptr;
}

GeometryProducer::Ptr BaseGeometryProducer::getFirstChild(bool evict) {
    return findExistingChild(0, evict);
}

GeometryProducer::Ptr BaseGeometryProducer::getNextSibling(bool evict) {
    // The constructor takes no other kind of parent.
    auto* parent = static_cast<BaseGeometryProducer*>(getRawParentPtr());
    return parent ? parent->findExistingChild(childIndex + 1, evict) : nullptr;
}

GeometryProducer::Ptr BaseGeometryProducer::findExistingChild(std::int64_t firstIndex, bool evict) {
    if (!isFromCaller) {
        const std::int64_t count = locationData.getPotentialChildren().getNumberOfValues();
        for (std::int64_t i = firstIndex; i < count; ++i)
            if (Ptr child = getChildAt(i, evict)) return child;
        return nullptr;
    }
    const StringAttribute names = getPotentialChildren();
    const std::int64_t count = names.getNumberOfValues();
    const std::string path = firstIndex < count ? getFullName() : std::string();
    for (std::int64_t i = firstIndex; i < count; ++i)
        if (Ptr child = getChildAt(i, ChildPath(path, names.getValueView(i)), evict)) return child;
    return nullptr;
}

/// Below a producer that is not from a caller.
GeometryProducer::Ptr BaseGeometryProducer::getChildAt(std::int64_t index, bool evict) {
    TellarRuntime::LocationData data =
        tree->getChild(ChildByIndex(*this, locationData, index), evict);
    if (!data.doesLocationExist()) return nullptr;
    return tree->makeProducer({this, std::move(data), index, tree});
}

/// Calls the functions that a derived class may replace.
GeometryProducer::Ptr BaseGeometryProducer::getChildAt(std::int64_t index, std::string path,
                                                       bool evict) {
    TellarRuntime::LocationData data = getLocationData(path, evict);
    if (!data.doesLocationExist()) return nullptr;
    return createChild(std::move(path), std::move(data), index, this);
}

/// Leaves out of a whole path the beginning that is the parent's path.
void BaseGeometryProducer::shortenPathEnd() noexcept try {
    auto* parent = static_cast<BaseGeometryProducer*>(getRawParentPtr());
    if (!parent) return;
    // Not by a virtual function, which could present another path.
    const std::string start = parent->BaseGeometryProducer::getFullName() + "/";
    if (pathEnd->compare(0, start.size(), start) != 0) return;
    pathEnd = std::make_unique<const std::string>(pathEnd->substr(start.size()));
    isWholePath = false;
} catch (const std::bad_alloc&) {
    // The whole path stays where it is.
}

std::string_view BaseGeometryProducer::getPathEnd() const {
    if (pathEnd) return *pathEnd;
    return getBaseParent()->locationData.getPotentialChildren().getValueView(childIndex);
}

const BaseGeometryProducer* BaseGeometryProducer::getBaseParent() const {
    // The constructors take no other kind.
    return static_cast<const BaseGeometryProducer*>(getRawParentPtr());
}

} // namespace TELLAR
