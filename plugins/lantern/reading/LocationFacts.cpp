#include "reading/LocationFacts.h"

#include <cstdint>
#include <string>
#include <utility>

#include "reading/ReadMesh.h"

namespace lantern {

namespace {

Kind KindOf(const std::string& type) {
    if (type == "polymesh") return Kind::Mesh;
    if (type == "subdmesh") return Kind::SubdivisionMesh;
    if (type == "pointcloud") return Kind::Points;
    if (type == "curves") return Kind::Curves;
    if (type == "sphere") return Kind::Sphere;
    if (type == "light") return Kind::Light;
    if (type == "faceset") return Kind::FaceSet;
    return Kind::Group;
}

} // namespace

const MaterialChain::Ptr& LocationFacts::materialsBelow(const MaterialChain::Ptr& above) {
    if (!material) return above;
    if (!materials || materialsAbove != above) {
        materials = MaterialChain::make(material, materialAssign, above);
        materialsAbove = above;
    }
    return materials;
}

LocationFacts& FactsMemory::of(const Attribute& attributes) {
    const auto address = reinterpret_cast<std::uintptr_t>(attributes.get());
    std::unique_ptr<LocationFacts>& slot = slots[(address >> 4) % kSlots];
    if (!slot) slot = std::make_unique<LocationFacts>(read(attributes));
    if (slot->attributes.get() != attributes.get()) *slot = read(attributes);
    return *slot;
}

LocationFacts FactsMemory::read(const Attribute& attributes) const {
    LocationFacts facts;
    facts.attributes = attributes;
    const std::string type = attributes.child("type").text();
    facts.kind = KindOf(type);
    facts.delegate = delegates.find(type);
    facts.isVisible = attributes.child("visible").number(1) != 0;
    if (!facts.isVisible) return facts;
    facts.transform = LocalTransform(suites, attributes.child("xform"), shutter);
    if (Attribute material = attributes.child("material"); material.isGroup())
        facts.material = std::move(material);
    if (facts.material) facts.materialAssign = attributes.child("materialAssign");
    if (facts.kind == Kind::Group) return facts;
    facts.geometry = attributes.child("geometry");
    if (facts.kind != Kind::Mesh && facts.kind != Kind::SubdivisionMesh) return facts;
    facts.textures = attributes.child("textures");
    facts.faceCount = CountFaces(facts.geometry);
    return facts;
}

} // namespace lantern
