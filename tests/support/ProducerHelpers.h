#ifndef TELLAR_TEST_PRODUCERHELPERS_H
#define TELLAR_TEST_PRODUCERHELPERS_H

#include <string>
#include <typeindex>
#include <vector>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTest {

/// The location /root of a scene description.
inline TELLAR::GeometryProducer::Ptr StaticRoot(const OxAttribute::GroupAttribute& scene) {
    return TELLAR::CreateStaticGeometryProducer("/root", scene, nullptr);
}

/// The location's full name; "nothing" for null.
inline std::string NameOf(const TELLAR::GeometryProducer::Ptr& producer) {
    return producer ? producer->getFullName() : "nothing";
}

/// The producer's class.
inline std::type_index KindOf(const TELLAR::GeometryProducer& producer) {
    return typeid(producer);
}

/// The full names of the first child and its next siblings, one found from the other.
inline std::vector<std::string> WalkChildren(const TELLAR::GeometryProducer::Ptr& parent) {
    std::vector<std::string> names;
    for (auto child = parent->getFirstChild(false); child; child = child->getNextSibling(false))
        names.push_back(child->getFullName());
    return names;
}

} // namespace TellarTest

#endif
