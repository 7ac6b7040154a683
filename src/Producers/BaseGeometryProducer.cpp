#include <OxTellarProducers/BaseGeometryProducer.h>

#include "LocationNames.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

BaseGeometryProducer::BaseGeometryProducer(
    std::string path, TellarRuntime::LocationData data, std::int64_t index,
    boost::intrusive_ptr<BaseGeometryProducer> parentProducer)
    : GeometryProducer(std::move(parentProducer)), locationPath(std::move(path)),
      locationData(std::move(data)), childIndex(index), attrs(locationData.getAttrs()) {}

BaseGeometryProducer::~BaseGeometryProducer() {
    NavigationPool::GivePath(std::move(locationPath));
}

void* BaseGeometryProducer::operator new(std::size_t bytes) {
    return NavigationPool::TakeMemory(bytes);
}

void BaseGeometryProducer::operator delete(void* memory, std::size_t bytes) noexcept {
    NavigationPool::GiveMemory(memory, bytes);
}

void BaseGeometryProducer::getAttributeNames(std::set<std::string>* names) {
    InsertChildNames(attrs, names);
}

StringAttribute BaseGeometryProducer::getPotentialChildren() {
    return locationData.getPotentialChildren();
}

Attribute BaseGeometryProducer::getAttribute(const char* name) {
    return AttributeAt(attrs, name);
}
std::string BaseGeometryProducer::getName() {
    return LeafName(locationPath);
}
std::string BaseGeometryProducer::getFullName() {
    return locationPath;
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
            std::string path = ChildPath(locationPath, wanted);
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
    const StringAttribute names = getPotentialChildren();
    const std::int64_t count = names.getNumberOfValues();
    for (std::int64_t i = firstIndex; i < count; ++i) {
        std::string path = ChildPath(locationPath, names.getValueView(i));
        TellarRuntime::LocationData data = getLocationData(path, evict);
        if (data.doesLocationExist()) return createChild(std::move(path), std::move(data), i, this);
    }
    return nullptr;
}

} // namespace TELLAR
