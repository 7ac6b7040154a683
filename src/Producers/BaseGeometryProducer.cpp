#include <OxTellarProducers/BaseGeometryProducer.h>

#include <algorithm>
#include <new>
#include <string_view>

#include <OxTellarSDK/AttributeChain.h>
#include <boost/container/small_vector.hpp>

#include "LocationNames.h"
#include "ProducerTree.h"
#include "SpareMemory.h"

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
      isWholePath(parts.isFromCaller || !getRawParentPtr()), isFromCaller(parts.isFromCaller),
      locationData(std::move(parts.data)), childIndex(parts.index),
      ownedTree(std::move(parts.ownedTree)), tree(parts.tree) {
    isOwn = !isFromCaller;
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

BaseGeometryProducer::~BaseGeometryProducer() {
    delete transforms.load(std::memory_order_relaxed);
}

void* BaseGeometryProducer::operator new(std::size_t bytes) {
    return SpareMemory<BaseGeometryProducer>::Take(bytes);
}

void BaseGeometryProducer::operator delete(void* memory, std::size_t bytes) noexcept {
    SpareMemory<BaseGeometryProducer>::Give(memory, bytes);
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
    return isWholePath ? LeafName(end) : std::string(LastPart(end));
}

std::string BaseGeometryProducer::getFullName() {
    boost::container::small_vector<std::string_view, 16> ends; // this location's first
    std::size_t bytes = 0;
    const BaseGeometryProducer* top = this;
    for (; !top->isWholePath; top = top->getBaseParent()) {
        ends.push_back(top->getPathEnd());
        bytes += 1 + ends.back().size();
    }
    const std::string& start = *top->pathEnd;
    std::string path(start.size() + bytes, '/');
    char* room = std::copy(start.begin(), start.end(), path.data());
    for (auto end = ends.rbegin(); end != ends.rend(); ++end)
        room = std::copy(end->begin(), end->end(), room + 1); // behind the slash
    return path;
}

std::string BaseGeometryProducer::getHash() {
    return locationData.getHash().str();
}

GeometryProducer::Ptr BaseGeometryProducer::getChildByName(const char* name, bool evict) {
    const std::string_view wanted = name ? name : "";
    if (!isFromCaller) return findChildNamed(wanted, evict);
    if (wanted == "..") return getParent();
    if (wanted == ".") return this;
    RefuseDeepName(wanted);
    return findChildAmong(getPotentialChildren(), wanted, evict);
}

/// Of a producer that is not from a caller: what getChildByName does.
GeometryProducer::Ptr BaseGeometryProducer::findChildNamed(std::string_view wanted, bool evict) {
    if (wanted == "..") return getParent();
    if (wanted == ".") return this;
    RefuseDeepName(wanted);
    return findChildAmong(locationData.getPotentialChildren(), wanted, evict);
}

GeometryProducer::Ptr BaseGeometryProducer::findChildAmong(const StringAttribute& names,
                                                           std::string_view wanted, bool evict) {
    const std::int64_t place = names.findValue(wanted);
    const std::int64_t count = names.getNumberOfValues();
    if (place < 0 || count == 0) return nullptr;
    const std::int64_t index = place % count;
    // Another sample than the one that is nearest to time 0 may have another name there.
    if (!isFromCaller && names.getValueView(index) == wanted) return getChildAt(index, evict);
    return getChildAt(index, ChildPath(getFullName(), wanted), evict);
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

/// Null when the index is out of range.
GeometryProducer::Ptr BaseGeometryProducer::findChildAt(std::int64_t index, bool evict) {
    const StringAttribute& names = locationData.getPotentialChildren();
    if (index < 0 || index >= names.getNumberOfValues()) return nullptr;
    if (!isFromCaller) return getChildAt(index, evict);
    return getChildAt(index, ChildPath(getFullName(), names.getValueView(index)), evict);
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

ClientGeometryProducer::ClientGeometryProducer(ProducerParts&& parts)
    : BaseGeometryProducer(std::move(parts)) {}

std::shared_ptr<TellarRuntime::Client> ClientGeometryProducer::getClient() {
    return getTree().getClient();
}

TellarRuntime::LocationData ClientGeometryProducer::getLocationData(const std::string& path,
                                                                    bool evict) {
    return getTree().getLocation(path, evict);
}

GeometryProducer::Ptr
ClientGeometryProducer::createChild(std::string path, TellarRuntime::LocationData data,
                                    std::int64_t index,
                                    boost::intrusive_ptr<BaseGeometryProducer> parentProducer) {
    return getTree().makeProducer(PartsFromCaller(&getTree(), std::move(path), std::move(data),
                                                  index, std::move(parentProducer)));
}

} // namespace TELLAR
