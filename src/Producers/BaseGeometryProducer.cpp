#include <OxTellarProducers/BaseGeometryProducer.h>

#include "LocationNames.h"
#include "NavigationPool.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

BaseGeometryProducer::BaseGeometryProducer(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : GeometryProducer(std::move(parentProducer)), locationPath(NavigationPool::TakePath()),
      locationData(std::move(data)), childIndex(index), makeChild(nullptr) {
    *locationPath = std::move(path);
}

BaseGeometryProducer::BaseGeometryProducer(Make make, BaseGeometryProducer& parentProducer,
                                           PooledPath& path, TellarRuntime::LocationData&& data,
                                           std::int64_t index)
    : GeometryProducer(&parentProducer), locationPath(path.release()),
      locationData(std::move(data)), childIndex(index), makeChild(make) {}

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
    if (!makeChild) return LeafName(*locationPath);
    const auto* parent = static_cast<const BaseGeometryProducer*>(getRawParentPtr());
    return LeafName(*locationPath, parent->locationPath->size());
}
std::string BaseGeometryProducer::getFullName() {
    return *locationPath;
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
            std::string path = ChildPath(*locationPath, wanted);
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
    for (std::int64_t i = firstIndex; i < count; ++i) {
        PooledPath path;
        SetChildPath(*path, *locationPath, names.getValueView(i));
        TellarRuntime::LocationData data = getLocationData(*path, evict);
        if (!data.doesLocationExist()) continue;
        if (makeChild) return makeChild(*this, path, std::move(data), i);
        return createChild(std::move(*path), std::move(data), i, this);
    }
    return nullptr;
}

BaseGeometryProducer& BaseGeometryProducer::getClientOwner() {
    BaseGeometryProducer* producer = this;
    while (producer->makeChild)
        producer = static_cast<BaseGeometryProducer*>(producer->getRawParentPtr());
    return *producer;
}

} // namespace TELLAR
