#include "SubtreeWalk.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <utility>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/XFormUtil.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using OxXFormUtil::Bounds;

constexpr float kTimes[] = {-1, 0, 0.25f, 0.5f, 1, 1.5f, 7, 24};
constexpr std::size_t kMostLocations = 3000; // below a walk's start
constexpr std::int64_t kMostChildren = 400;  // of one location
constexpr std::int64_t kMostPoints = 100000; // of one location
constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

GroupAttribute Content(const GroupAttribute& attrs) {
    GroupBuilder content;
    content.update(attrs);
    content.del("xform");
    return content.build();
}

GroupAttribute XFormOf(const GroupAttribute& attrs) {
    return GroupAttribute(attrs.getChildByIndex(attrs.findChild("xform")));
}

bool HasOrigin(const GroupAttribute& xform) {
    for (std::int64_t i = 0; i < xform.getNumberOfChildren(); ++i)
        if (xform.getChildNameView(i).rfind("origin", 0) == 0 ||
            HasOrigin(GroupAttribute(xform.getChildByIndex(i))))
            return true;
    return false;
}

void AddPoints(const FloatAttribute& points, Bounds& bounds) {
    std::vector<float> values(static_cast<std::size_t>(points.getNumberOfValues()));
    for (const float time : kTimes) {
        if (values.empty()) return;
        points.fillInterpSample(values.data(), points.getNumberOfValues(), time);
        for (std::size_t i = 0; i + 2 < values.size(); i += 3)
            bounds.add(values[i], values[i + 1], values[i + 2]);
    }
}

void AddOwnPoints(const GroupAttribute& attrs, std::string_view type, Subtree& subtree) {
    const FloatAttribute points(attrs.getChildByName("geometry.point.P"));
    if (points.getNumberOfValues() > kMostPoints) subtree.isCut = true;
    if (!subtree.isCut) AddPoints(points, subtree.points);
    if (type == "sphere") {
        const double r =
            DoubleAttribute(attrs.getChildByName("geometry.radius")).getValue(1, false);
        subtree.points.add(r, r, r);
        subtree.points.add(-r, -r, -r);
    }
    const DoubleAttribute bound(attrs.getChildByName("bound"));
    if (points.isValid() || bound.getNumberOfValues() != 6) return;
    const auto values = bound.getNearestSample(0);
    subtree.points.add(values[0], values[2], values[4]);
    subtree.points.add(values[1], values[3], values[5]);
}

Matrix Product(const Matrix& first, const Matrix& second) {
    Matrix product{};
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column)
            for (std::size_t i = 0; i < 4; ++i)
                product[4 * row + column] += first[4 * row + i] * second[4 * i + column];
    return product;
}

Matrix MatrixOf(const GroupAttribute& xform, float time) {
    const auto matrix = OxXFormUtil::CalcTransformMatrixAtTime(xform, time);
    Matrix values = kIdentity;
    if (matrix.second) matrix.first.fillInterpSample(values.data(), 16, time);
    return values;
}

} // namespace

SubtreeWalk::SubtreeWalk(ClientPtr client) : client(std::move(client)) {}

const Subtree& SubtreeWalk::at(const std::string& path) {
    const auto known = all.find(path);
    if (known != all.end()) return known->second;
    Subtree subtree = look(path);
    return all.emplace(path, std::move(subtree)).first->second;
}

GroupAttribute SubtreeWalk::attrsOf(const std::string& path) {
    try {
        return client->cookLocation(path).getAttrs();
    } catch (const std::exception&) {
        return {};
    }
}

Subtree SubtreeWalk::look(const std::string& path) {
    Subtree subtree;
    TellarRuntime::LocationData data;
    try {
        data = client->cookLocation(path);
    } catch (const std::exception&) {
        subtree.isCut = true;
        return subtree;
    }
    if (!data.doesLocationExist()) return subtree;
    const GroupAttribute& attrs = data.getAttrs();
    const StringAttribute type(attrs.getChildByIndex(attrs.findChild("type")));
    subtree.locations = 1;
    subtree.types = OxOpType::TypeBit(type.getValueView());
    subtree.paths.push_back(path);
    subtree.signature =
        Content(attrs).getHash().str() + data.getPotentialChildren().getHash().str();
    AddOwnPoints(attrs, type.getValueView(), subtree);
    const auto names = data.getPotentialChildren().getNearestSample(0);
    subtree.isCut = subtree.isCut || all.size() > kMostLocations ||
                    static_cast<std::int64_t>(names.size()) > kMostChildren;
    if (subtree.isCut) return subtree;
    for (const std::string_view name : names)
        addChild(path + '/' + std::string(name), subtree);
    return subtree;
}

void SubtreeWalk::addChild(const std::string& path, Subtree& subtree) {
    const Subtree& child = at(path);
    const GroupAttribute xform = XFormOf(attrsOf(path));
    subtree.isCut = subtree.isCut || child.isCut;
    subtree.locations += child.locations;
    subtree.types |= child.types;
    subtree.paths.insert(subtree.paths.end(), child.paths.begin(), child.paths.end());
    subtree.signature = StringAttribute(subtree.signature + child.signature + xform.getHash().str())
                            .getHash()
                            .str();
    subtree.leavesParent =
        subtree.leavesParent || child.leavesParent || (!child.points.isEmpty() && HasOrigin(xform));
    // The corners of the box stand for its points.
    for (const float time : kTimes)
        subtree.points.add(child.points.transformed(MatrixOf(xform, time).data()));
}

Matrix SubtreeWalk::matrixBetween(std::string path, const std::string& ancestor, float time) {
    Matrix product = kIdentity;
    for (; path.size() > ancestor.size(); path.erase(path.rfind('/')))
        product = Product(product, MatrixOf(XFormOf(attrsOf(path)), time));
    return product;
}

bool SubtreeWalk::isPlainGroup(const std::string& path) {
    const GroupAttribute attrs = attrsOf(path);
    for (std::int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string_view name = attrs.getChildNameView(i);
        if (name == "xform" || name == "bound") continue;
        if (name != "type" || StringAttribute(attrs.getChildByIndex(i)).getValue() != "group")
            return false;
    }
    return true;
}

bool Encloses(const Bounds& box, const Bounds& other) {
    if (other.isEmpty()) return true;
    if (box.isEmpty()) return false;
    double extent = 1;
    for (const double value : other.values)
        extent = std::max(extent, std::abs(value));
    for (std::size_t i = 0; i < 6; i += 2)
        if (box.values[i] > other.values[i] + 1e-6 * extent ||
            box.values[i + 1] < other.values[i + 1] - 1e-6 * extent)
            return false;
    return true;
}

bool IsNear(const Matrix& a, const double* b) {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!(std::abs(a[i] - b[i]) <= 1e-9 * (1 + std::abs(a[i])))) return false;
    return true;
}

} // namespace TellarTool
