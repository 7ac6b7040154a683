#include <OxTellarProducers/StaticGeometryProducer.h>

#include <typeinfo>
#include <vector>

#include <OxTellarSDK/DelimiterCodec.h>

#include "LocationNames.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

std::string NameAt(const GroupAttribute& children, std::int64_t index) {
    return OxAttribute::DelimiterDecode(children.getChildNameView(index));
}

} // namespace

StaticGeometryProducer::StaticGeometryProducer(std::string path, GroupAttribute description,
                                               std::int64_t index, Ptr parentProducer)
    : GeometryProducer(std::move(parentProducer)), locationPath(std::move(path)),
      group(std::move(description)), childIndex(index) {}

StaticGeometryProducer::~StaticGeometryProducer() = default;

GroupAttribute StaticGeometryProducer::getChildren() const {
    return group.getChildByName("c");
}

void StaticGeometryProducer::getAttributeNames(std::set<std::string>* names) {
    InsertChildNames(group.getChildByName("a"), names);
}

StringAttribute StaticGeometryProducer::getPotentialChildren() {
    const GroupAttribute children = getChildren();
    if (!children.isValid()) return {};
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < children.getNumberOfChildren(); ++i)
        names.push_back(NameAt(children, i));
    return StringAttribute(names, 1);
}

Attribute StaticGeometryProducer::getAttribute(const char* name) {
    return AttributeAt(group.getChildByName("a"), name);
}

std::string StaticGeometryProducer::getName() {
    return LeafName(locationPath);
}
std::string StaticGeometryProducer::getFullName() {
    return locationPath;
}
std::string StaticGeometryProducer::getHash() {
    return group.getHash().str();
}

GeometryProducer::Ptr StaticGeometryProducer::getChildByName(const char* name, bool) {
    const std::string wanted = name ? name : "";
    if (wanted == "..") return getParent();
    if (wanted == ".") return this;
    RefuseDeepName(wanted);
    const GroupAttribute child(group.getChildByName("c." + wanted));
    if (!child.isValid()) return nullptr;
    return new StaticGeometryProducer(ChildPath(locationPath, wanted), child, -1, this);
}

GeometryProducer::Ptr StaticGeometryProducer::getFirstChild(bool) {
    return findChildAt(0);
}

/// Null when the index is out of range.
GeometryProducer::Ptr StaticGeometryProducer::findChildAt(std::int64_t index) {
    const GroupAttribute children = getChildren();
    if (index < 0 || index >= children.getNumberOfChildren()) return nullptr;
    return new StaticGeometryProducer(ChildPath(locationPath, NameAt(children, index)),
                                      children.getChildByIndex(index), index, this);
}

GeometryProducer::Ptr StaticGeometryProducer::getNextSibling(bool) {
    auto* parent = dynamic_cast<StaticGeometryProducer*>(getRawParentPtr());
    if (!parent) return nullptr;
    const GroupAttribute siblings = parent->getChildren();
    // The parent's names are read one by one: a list of all of them for each step would make a walk
    // take a time quadratic in their number. A class derived elsewhere may present other names.
    const bool isPlain = typeid(*parent) == typeid(StaticGeometryProducer);
    const StringAttribute presented = isPlain ? StringAttribute() : parent->getPotentialChildren();
    const std::int64_t count =
        isPlain ? siblings.getNumberOfChildren() : presented.getNumberOfValues();
    const auto nameAt = [&](std::int64_t index) {
        return isPlain ? NameAt(siblings, index) : std::string(presented.getValueView(index));
    };
    if (childIndex < 0) {
        const std::string name = getName();
        for (childIndex = 0; childIndex < count && nameAt(childIndex) != name;)
            ++childIndex;
    }
    const std::int64_t next = childIndex + 1;
    if (next >= count) return nullptr;
    // The path continues this producer's own; readers of static scenes count on it.
    return new StaticGeometryProducer(ChildPath(locationPath, nameAt(next)),
                                      siblings.getChildByIndex(next), next, parent);
}

} // namespace TELLAR
