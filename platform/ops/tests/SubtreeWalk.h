#ifndef TELLAR_OPS_TESTS_SUBTREEWALK_H
#define TELLAR_OPS_TESTS_SUBTREEWALK_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/SubtreeFacts.h>

#include "OpTypeScenes.h"

/// Cooks everything below a location, to compare it with the facts that Ops tell without cooking.
namespace SubtreeWalk {

using namespace OpTypeScenes;
using OxOpType::Instances;
using OxOpType::SubtreeFacts;
using OxXFormUtil::Bounds;
using Matrix = std::array<double, 16>;

constexpr float kTimes[] = {0, 0.25f, 0.5f, 1, 1.5f, 2, 7, 12.5f, 24, 48};

/// The attributes without the location's own transform.
inline GroupAttribute Content(const GroupAttribute& attrs) {
    GroupBuilder content;
    content.update(attrs);
    content.del("xform");
    return content.build();
}

inline GroupAttribute XFormOf(const GroupAttribute& attrs) {
    return attrs.getChildByIndex(attrs.findChild("xform"));
}

/// All that a walk finds at and below a location.
struct Found {
    std::int64_t locations = 0;
    std::uint32_t types = 0;
    Bounds points;             ///< in the space of the location, at kTimes
    bool leavesParent = false; ///< points lie below an "origin" that is below the location
    std::string signature;     ///< equal for subtrees that differ in their topmost transform alone
    std::vector<std::string> paths;
};

class Walk {
public:
    explicit Walk(const Client& client) : client(client) {}

    /// Each location is cooked once, however often it is asked for.
    const Found& at(const std::string& path) {
        const auto known = all.find(path);
        if (known != all.end()) return known->second;
        Found found = look(path);
        return all.emplace(path, std::move(found)).first->second;
    }
    GroupAttribute attrs(const std::string& path) { return client->cookLocation(path).getAttrs(); }

private:
    Found look(const std::string& path) {
        const LocationData data = client->cookLocation(path);
        Found found;
        if (!data.doesLocationExist()) return found;
        const GroupAttribute& attrs = data.getAttrs();
        const StringAttribute type(attrs.getChildByName("type"));
        found.locations = 1;
        found.types = OxOpType::TypeBit(type.getValueView());
        found.paths.push_back(path);
        found.signature =
            Content(attrs).getHash().str() + data.getPotentialChildren().getHash().str();
        addOwnPoints(attrs, type.getValueView(), found);
        for (const std::string_view name : data.getPotentialChildren().getNearestSample(0))
            addChild(path + '/' + std::string(name), found);
        return found;
    }

    static void addOwnPoints(const GroupAttribute& attrs, std::string_view type, Found& found) {
        const FloatAttribute points(attrs.getChildByName("geometry.point.P"));
        for (const float time : kTimes) {
            std::vector<float> values(static_cast<std::size_t>(points.getNumberOfValues()));
            if (!values.empty())
                points.fillInterpSample(values.data(), points.getNumberOfValues(), time);
            for (std::size_t i = 0; i + 2 < values.size(); i += 3)
                found.points.add(values[i], values[i + 1], values[i + 2]);
        }
        if (type == "sphere") {
            const DoubleAttribute radius(attrs.getChildByName("geometry.radius"));
            const double r = radius.getValue(1, false);
            found.points.add(r, r, r);
            found.points.add(-r, -r, -r);
        }
        const std::vector<double> bound = Values(attrs.getChildByName("bound"));
        if (points.isValid() || bound.size() != 6) return;
        found.points.add(bound[0], bound[2], bound[4]);
        found.points.add(bound[1], bound[3], bound[5]);
    }

    void addChild(const std::string& path, Found& found) {
        const Found& child = at(path);
        const GroupAttribute xform = XFormOf(attrs(path));
        found.locations += child.locations;
        found.types |= child.types;
        found.paths.insert(found.paths.end(), child.paths.begin(), child.paths.end());
        found.signature = StringAttribute(found.signature + child.signature + xform.getHash().str())
                              .getHash()
                              .str();
        found.leavesParent =
            found.leavesParent || child.leavesParent ||
            (!child.points.isEmpty() && xform.getXML().find("origin") != std::string::npos);
        // The corners of the box stand for its points.
        for (const float time : kTimes) {
            const auto [matrix, isUsed] = OxXFormUtil::CalcTransformMatrixAtTime(xform, time);
            const auto values = matrix.getNearestSample(time);
            found.points.add(isUsed ? child.points.transformed(values.data()) : child.points);
        }
    }

    Client client;
    std::map<std::string, Found> all;
};

/// Whether a box encloses another one up to rounding errors.
inline bool Encloses(const Bounds& box, const Bounds& other) {
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

/// Expects that no fact contradicts the walk.
inline void ExpectAgreement(const SubtreeFacts& facts, const Found& found) {
    const bool exists = found.locations > 0;
    EXPECT_EQ(facts.exists.value_or(exists), exists);
    EXPECT_EQ(facts.locations.value_or(found.locations), found.locations);
    EXPECT_EQ(found.types & ~facts.types.value_or(found.types), 0u);
    if (!facts.bound) return;
    EXPECT_FALSE(found.leavesParent);
    EXPECT_TRUE(Encloses(*facts.bound, found.points))
        << testing::PrintToString(facts.bound->values) << " does not enclose "
        << testing::PrintToString(found.points.values);
}

inline Matrix Product(const Matrix& first, const Matrix& second) {
    Matrix product{};
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column)
            for (std::size_t i = 0; i < 4; ++i)
                product[4 * row + column] += first[4 * row + i] * second[4 * i + column];
    return product;
}

/// The matrix from the space of `path` to that of `ancestor` at a time, from cooked locations.
inline Matrix MatrixBetween(Walk& walk, std::string path, const std::string& ancestor, float time) {
    Matrix product = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (; path.size() > ancestor.size(); path.erase(path.rfind('/'))) {
        const auto [matrix, isUsed] =
            OxXFormUtil::CalcTransformMatrixAtTime(XFormOf(walk.attrs(path)), time);
        Matrix own = product;
        if (isUsed) {
            matrix.fillInterpSample(own.data(), 16, time);
            product = Product(product, own);
        }
    }
    return product;
}

inline bool IsNear(const Matrix& a, const double* b) {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!(std::abs(a[i] - b[i]) <= 1e-9 * (1 + std::abs(a[i])))) return false;
    return true;
}

/// Whether the location is a group whose attributes a renderer may ignore.
inline bool IsPlainGroup(const GroupAttribute& attrs) {
    for (std::int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string_view name = attrs.getChildNameView(i);
        if (name == "xform" || name == "bound") continue;
        if (name != "type" || StringAttribute(attrs.getChildByIndex(i)).getValue() != "group")
            return false;
    }
    return true;
}

/// Expects that the instances are all that a walk finds below `path`, at their places.
inline void ExpectAllInstances(const Instances& instances, Walk& walk, const std::string& path) {
    const auto count = static_cast<std::size_t>(instances.count());
    std::vector<std::int64_t> prototypes(count);
    std::vector<double> matrices(16 * count);
    instances.read(0, instances.count(), prototypes.data(), matrices.data());
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i) {
        paths.push_back(path + '/' + instances.path(static_cast<std::int64_t>(i)));
        SCOPED_TRACE(paths.back());
        const std::string prototype =
            path + '/' + instances.prototypes().at(static_cast<std::size_t>(prototypes[i]));
        EXPECT_GT(walk.at(paths.back()).locations, 0);
        EXPECT_EQ(walk.at(paths.back()).signature, walk.at(prototype).signature);
        for (const float time : kTimes)
            EXPECT_TRUE(IsNear(MatrixBetween(walk, paths.back(), path, time), &matrices[16 * i]));
    }
    const std::vector<std::string> all = walk.at(path).paths;
    for (const std::string& location : all) {
        const bool isInstance =
            std::any_of(paths.begin(), paths.end(), [&location](const std::string& instance) {
                return OxLocationPath::IsSelfOrBelow(location, instance);
            });
        EXPECT_TRUE(location == path || isInstance || IsPlainGroup(walk.attrs(location)))
            << location << " is not told";
    }
}

} // namespace SubtreeWalk

#endif
