#include <OxTellarProducers/BaseGeometryProducer.h>

#include <algorithm>
#include <new>
#include <string_view>

#include "LocationNames.h"
#include "NavigationPool.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

// Paths beyond this are rare; a chain of producers may keep as much text each.
constexpr std::size_t kLongPath = 1024;

} // namespace

BaseGeometryProducer::BaseGeometryProducer(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : GeometryProducer(std::move(parentProducer)), locationPath(NavigationPool::TakePath()),
      locationData(std::move(data)), childIndex(index), makeChild(nullptr) {
    *locationPath = std::move(path);
    if (locationPath->size() > kLongPath) shareParentsPath();
}

BaseGeometryProducer::BaseGeometryProducer(Make make, BaseGeometryProducer& parentProducer,
                                           PooledPath& path, TellarRuntime::LocationData&& data,
                                           std::int64_t index)
    : GeometryProducer(&parentProducer), locationPath(path.release()),
      locationData(std::move(data)), childIndex(index), makeChild(make) {
    if (locationPath->size() > kLongPath) shareParentsPath();
}

BaseGeometryProducer::~BaseGeometryProducer() {
    NavigationPool::GivePath(locationPath);
}

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
    if (!makeChild || sharedBytes > 0) return LeafName(*locationPath);
    return LeafName(*locationPath, getBaseParent()->getPathSize());
}
std::string BaseGeometryProducer::getFullName() {
    std::string room;
    return std::string(getPath(room));
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
            std::string room;
            std::string path = ChildPath(getPath(room), wanted);
            TellarRuntime::LocationData data = getLocationData(path, evict);
            if (!data.doesLocationExist()) return nullptr;
            return createChild(std::move(path), std::move(data), static_cast<std::int64_t>(i),
                               this);
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
    // A class derived elsewhere may present other names, and make other children.
    const StringAttribute presented = makeChild ? StringAttribute() : getPotentialChildren();
    const StringAttribute& names = makeChild ? locationData.getPotentialChildren() : presented;
    const std::int64_t count = names.getNumberOfValues();
    std::string room;
    const std::string_view ownPath = getPath(room);
    for (std::int64_t i = firstIndex; i < count; ++i) {
        PooledPath path;
        SetChildPath(*path, ownPath, names.getValueView(i));
        TellarRuntime::LocationData data = getLocationData(*path, evict);
        if (!data.doesLocationExist()) continue;
        if (makeChild) return makeChild(*this, path, std::move(data), i);
        return createChild(std::move(*path), std::move(data), i, this);
    }
    return nullptr;
}

// Invariant: the path is sharedBytes bytes, which are the parent's whole path, and *locationPath.
//
// If each producer kept its whole path, those of one deep location would take memory in proportion
// to the square of its depth. To put a path together takes a step for each level up to an ancestor
// that shares nothing, so the whole path is kept again wherever a sixteenth of it has come since.
// All of these texts together are then some twenty times as long as the longest path.
void BaseGeometryProducer::shareParentsPath() noexcept try {
    const BaseGeometryProducer* const above = getBaseParent();
    if (!above) return;
    const BaseGeometryProducer* whole = above;
    while (whole->sharedBytes > 0)
        whole = whole->getBaseParent();
    const std::size_t bytes = locationPath->size();
    if (bytes - std::min(whole->getPathSize(), bytes) > bytes / 16) return;
    std::string room;
    const std::string_view start = above->getPath(room);
    const std::string_view path = *locationPath;
    // A class derived elsewhere may make a child under any path.
    if (path.substr(0, start.size()) != start || path.substr(start.size(), 1) != "/") return;
    std::string rest(path.substr(start.size()));
    sharedBytes = start.size();
    rest.swap(*locationPath);
} catch (const std::bad_alloc&) {
    // The whole path stays where it is.
}

std::string_view BaseGeometryProducer::joinPath(std::string& room) const {
    room.resize(getPathSize());
    for (const BaseGeometryProducer* producer = this;; producer = producer->getBaseParent()) {
        producer->locationPath->copy(&room[producer->sharedBytes], producer->locationPath->size());
        if (producer->sharedBytes == 0) return room;
    }
}

const BaseGeometryProducer* BaseGeometryProducer::getBaseParent() const {
    // The constructors take no other kind.
    return static_cast<const BaseGeometryProducer*>(getRawParentPtr());
}

BaseGeometryProducer& BaseGeometryProducer::getClientOwner() {
    BaseGeometryProducer* producer = this;
    while (producer->makeChild)
        producer = static_cast<BaseGeometryProducer*>(producer->getRawParentPtr());
    return *producer;
}

} // namespace TELLAR
