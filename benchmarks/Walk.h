#ifndef TELLAR_BENCH_WALK_H
#define TELLAR_BENCH_WALK_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

#include "Checksum.h"
#include "PointerTree.h"

namespace TellarBench {

// Walks as a user would write them, and the values that are read at each location.

using TELLAR::GeometryProducer;
using Producer = GeometryProducer::Ptr;

template <typename Visit>
void Walk(GeometryProducer* location, const Visit& visit) {
    visit(location);
    for (Producer child = location->getFirstChild(false); child;
         child = child->getNextSibling(false))
        Walk(child.get(), visit);
}

template <typename Visit>
void Walk(const Node* node, const Visit& visit) {
    visit(node);
    for (const auto& child : node->children)
        Walk(child.get(), visit);
}

inline LocationSum ReadNames(GeometryProducer* location) {
    LocationSum sum;
    sum.addText(location->getName());
    sum.addText(location->getType());
    return sum;
}

inline LocationSum ReadNames(const Node* node) {
    LocationSum sum;
    sum.addText(node->name);
    sum.addText(node->type);
    return sum;
}

/// For a GeometryProducer* or a const Node*.
template <typename Location>
Checksum WalkNames(Location top) {
    Checksum sum;
    Walk(top, [&sum](Location location) { sum.add(ReadNames(location)); });
    return sum;
}

template <typename Sample>
void AddSample(const Sample& sample, LocationSum& sum) {
    sum.addAll(sample.data(), sample.size());
}

template <typename T>
T FindValue(const Node* node, const char* name) {
    const Value* value = node->find(name);
    return value ? std::get<T>(*value) : T();
}

template <typename T>
void AddArray(const Node* node, const char* name, LocationSum& sum) {
    const Value* value = node->find(name);
    if (value)
        AddSample(std::get<std::vector<T>>(*value), sum);
    else
        sum.add(std::size_t{0});
}

/// Reads names, types, matrices, the six user attributes and bounds.
inline Checksum WalkAttributes(const Node* root) {
    Checksum total;
    Walk(root, [&total](const Node* node) {
        LocationSum sum = ReadNames(node);
        sum.addAll(node->matrix.data(), node->hasMatrix ? node->matrix.size() : 0);
        sum.add(FindValue<float>(node, "user.f0"));
        sum.add(FindValue<float>(node, "user.f1"));
        sum.add(FindValue<float>(node, "user.f2"));
        const Value* text = node->find("user.s");
        sum.addText(text ? std::string_view(std::get<std::string>(*text)) : std::string_view());
        sum.add(FindValue<std::int32_t>(node, "user.i"));
        AddArray<float>(node, "user.c", sum);
        AddArray<double>(node, "bound", sum);
        total.add(sum);
    });
    return total;
}

} // namespace TellarBench

#endif
