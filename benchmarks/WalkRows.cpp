// Walks over the whole scene that read names and types, attributes, or world matrices.

#include <cstring>

#include <Imath/ImathMatrix.h>
#include <OxTellarProducers/LocationTransforms.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/XFormUtil.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;
using Imath::M44d;

namespace TellarBench {

namespace {

constexpr int kPasses = 5;

/// A scene that was walked completely once, and its pointer tree.
struct WarmScene {
    explicit WarmScene(const Route& route)
        : root(route.openFile(GetScenePath(GetOptions().leaves))),
          tree(BuildTree(GetOptions().leaves)) {
        WalkNames(root.get());
    }

    Producer root;
    std::unique_ptr<Node> tree;
};

double NanosecondsPerLocation() {
    return 1e9 / static_cast<double>(CountLocations(GetOptions().leaves));
}

Checksum WalkAttributes(GeometryProducer* root) {
    Checksum total;
    Walk(root, [&total](GeometryProducer* location) {
        LocationSum sum = ReadNames(location);
        const DoubleAttribute matrix = location->getAttribute("xform.matrix");
        AddSample(matrix.getNearestSample(0.0f), sum);
        sum.add(FloatAttribute(location->getAttribute("user.f0")).getValue(0.0f, false));
        sum.add(FloatAttribute(location->getAttribute("user.f1")).getValue(0.0f, false));
        sum.add(FloatAttribute(location->getAttribute("user.f2")).getValue(0.0f, false));
        sum.addText(StringAttribute(location->getAttribute("user.s")).getValue("", false));
        sum.add(IntAttribute(location->getAttribute("user.i")).getValue(0, false));
        const FloatAttribute colour = location->getAttribute("user.c");
        AddSample(colour.getNearestSample(0.0f), sum);
        const DoubleAttribute bound = location->getAttribute("bound");
        AddSample(bound.getNearestSample(0.0f), sum);
        total.add(sum);
    });
    return total;
}

M44d ToMatrix(const double* values) {
    M44d matrix;
    std::memcpy(&matrix.x, values, sizeof(matrix.x));
    return matrix;
}

void AddMatrix(const M44d& matrix, LocationSum& sum) {
    sum.addAll(&matrix.x[0][0], 16);
}

// Computes the world matrix of every leaf from all its ancestors.

Checksum WalkWorldMatricesOfLeaves(GeometryProducer* root) {
    Checksum total;
    Walk(root, [&total](GeometryProducer* location) {
        LocationSum sum;
        sum.addText(location->getName());
        const std::string type = location->getType();
        sum.addText(type);
        if (type == kLeafType) {
            const GroupAttribute chain = location->getGlobalXFormGroup();
            const DoubleAttribute world = OxXFormUtil::CalcTransformMatrixAtTime(chain, 0.0f).first;
            AddSample(world.getNearestSample(0.0f), sum);
        }
        total.add(sum);
    });
    return total;
}

/// The same by the function for it, which makes no group and no attribute.
Checksum WalkWorldMatricesByFunction(GeometryProducer* root) {
    Checksum total;
    Walk(root, [&total](GeometryProducer* location) {
        LocationSum sum;
        sum.addText(location->getName());
        const std::string type = location->getType();
        sum.addText(type);
        if (type == kLeafType) AddMatrix(TELLAR::GetWorldMatrix(*location), sum);
        total.add(sum);
    });
    return total;
}

Checksum WalkWorldMatricesOfLeaves(const Node* root) {
    Checksum total;
    Walk(root, [&total](const Node* node) {
        LocationSum sum = ReadNames(node);
        if (node->type == kLeafType) {
            M44d world = ToMatrix(node->matrix.data());
            for (const Node* above = node->parent; above; above = above->parent)
                if (above->hasMatrix) world *= ToMatrix(above->matrix.data());
            AddMatrix(world, sum);
        }
        total.add(sum);
    });
    return total;
}

// Computes the same matrices, keeping that of the parent along the walk.

void WalkWorldMatricesKept(GeometryProducer* location, const M44d& parentWorld, Checksum& total) {
    LocationSum sum;
    sum.addText(location->getName());
    const std::string type = location->getType();
    sum.addText(type);
    M44d world = parentWorld;
    const DoubleAttribute matrix = location->getAttribute("xform.matrix");
    const auto sample = matrix.getNearestSample(0.0f);
    if (sample.size() == 16) world = ToMatrix(sample.data()) * parentWorld;
    if (type == kLeafType) AddMatrix(world, sum);
    total.add(sum);
    for (Producer child = location->getFirstChild(false); child;
         child = child->getNextSibling(false))
        WalkWorldMatricesKept(child.get(), world, total);
}

void WalkWorldMatricesKept(const Node* node, const M44d& parentWorld, Checksum& total) {
    LocationSum sum = ReadNames(node);
    M44d world = parentWorld;
    if (node->hasMatrix) world = ToMatrix(node->matrix.data()) * parentWorld;
    if (node->type == kLeafType) AddMatrix(world, sum);
    total.add(sum);
    for (const auto& child : node->children)
        WalkWorldMatricesKept(child.get(), world, total);
}

template <typename Location>
Checksum WalkWorldMatricesKept(Location root) {
    Checksum total;
    WalkWorldMatricesKept(root, M44d(), total);
    return total;
}

Checksum WalkWorldMatricesByFunction(const Node* root) {
    return WalkWorldMatricesOfLeaves(root);
}

/// A row over a scene that was walked before: by names only for a single pass, which reads
/// everything else for the first time, or with the same walk for several passes. `walk` takes
/// producers or nodes.
template <typename WalkAny>
void AddWarmRow(const char* name, const Route& route, int passes, WalkAny walk) {
    AddRow(std::string(name) + "/" + route.name, passes, [&route, passes, walk](Row& row) {
        const WarmScene scene(route);
        const auto* tree = static_cast<const Node*>(scene.tree.get());
        if (passes > 1) row.verify(walk(scene.root.get()), walk(tree));
        row.compare(
            "ns", NanosecondsPerLocation(), [&] { return walk(scene.root.get()); },
            [&] { return walk(tree); });
    });
}

} // namespace

void AddWalkRows(const Route& route) {
    AddRow(std::string("first_walk/") + route.name, 1, [&route](Row& row) {
        const auto tree = BuildTree(GetOptions().leaves);
        const Producer root = route.openFile(GetScenePath(GetOptions().leaves));
        row.compare(
            "ns", NanosecondsPerLocation(), [&] { return WalkNames(root.get()); },
            [&] { return WalkNames(static_cast<const Node*>(tree.get())); });
    });
    const auto readAttributes = [](auto root) { return WalkAttributes(root); };
    AddWarmRow("second_walk", route, kPasses, [](auto root) { return WalkNames(root); });
    AddWarmRow("read_first", route, 1, readAttributes);
    AddWarmRow("read_attributes", route, kPasses, readAttributes);
    AddWarmRow("world_of_leaves", route, kPasses,
               [](auto root) { return WalkWorldMatricesOfLeaves(root); });
    AddWarmRow("world_by_function", route, kPasses,
               [](auto root) { return WalkWorldMatricesByFunction(root); });
    AddWarmRow("world_kept", route, kPasses, [](auto root) { return WalkWorldMatricesKept(root); });
}

} // namespace TellarBench
