#include "motion/MeshMotion.h"

#include <cmath>
#include <stdexcept>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

// Morph targets and skins. Expected values are worked out point by point.

namespace {

using namespace TellarSceneImport;
using OxAttribute::FloatAttribute;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Pointwise;

using Floats = std::vector<float>;

constexpr double kPi = 3.14159265358979323846;

Matrix Shift(double x, double y, double z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

Floats At(const FloatAttribute& values, float time) {
    Floats result(static_cast<std::size_t>(values.getNearestSample(time).size()));
    values.fillInterpSample(result.data(), static_cast<std::int64_t>(result.size()), time);
    return result;
}

struct Samples {
    FloatAttribute positions, normals;
};

/// At 24 frames a second.
Samples SamplesOf(const MeshMotion& motion) {
    OxAttribute::GroupBuilder attrs;
    motion.apply({}, attrs);
    const auto points = attrs.build();
    return {points.getChildByName("geometry.point.P"), points.getChildByName("geometry.point.N")};
}

/// An arm of two joints along X: a shoulder at the origin, and an elbow at x = 2 that turns about Z
/// by `degrees` in a second.
std::shared_ptr<const Skeleton> Arm(double degrees) {
    const auto half = static_cast<float>(degrees * kPi / 360);
    const Track turn(TrackKind::Rotation, Interpolation::Linear, 4, {0, 1},
                     {0, 0, 0, 1, 0, 0, std::sin(half), std::cos(half)});
    Transform rest;
    rest.position = {2, 0, 0};
    Skeleton::Node shoulder, elbow;
    shoulder.rest = Shift(0, 0, 0);
    elbow.parent = 0;
    elbow.rest = Shift(2, 0, 0);
    elbow.motion = std::make_shared<NodeMotion>(rest, Track(), turn, Track());
    return std::make_shared<Skeleton>(std::vector<Skeleton::Node>{shoulder, elbow});
}

/// Points at x = 0, 2 and 4, of which the first follows the shoulder, the last one the elbow and
/// the middle one both. All normals are +Y.
MeshMotion::Parts ArmMesh(double degrees) {
    MeshMotion::Parts parts;
    parts.points = {{0, 0, 0, 2, 0, 0, 4, 0, 0}, {0, 1, 0, 0, 1, 0, 0, 1, 0}};
    const Influences::Set set{{0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0},
                              {3, 0, 0, 0, 2, 2, 0, 0, 0.5f, 0, 0, 0}};
    parts.joints = std::make_shared<MeshMotion::Joints>(MeshMotion::Joints{
        Arm(degrees), {{0, 1}, {Shift(0, 0, 0), Shift(-2, 0, 0)}}, Influences(3, {set}, 2)});
    return parts;
}

/// One point, moved by (0, 1, 0) and (4, 0, 0).
MeshMotion::Parts MorphedPoint(std::vector<double> weights) {
    MeshMotion::Parts parts;
    parts.points = {{1, 1, 1}, {0, 0, 1}};
    parts.targets = {{{0, 1, 0}, {}}, {{4, 0, 0}, {1, 0, 0}}};
    parts.restWeights = std::move(weights);
    return parts;
}

std::vector<double> BoundOf(const MeshMotion& motion) {
    const auto bound = motion.bound().attribute();
    const auto values = bound.getNearestSample(0);
    return {values.begin(), values.end()};
}

TEST(MeshMotion, AddsMorphTargetsByWeight) {
    const Samples samples = SamplesOf(MeshMotion(MorphedPoint({0.5, 0.25})));
    EXPECT_EQ(samples.positions.getNumberOfTimeSamples(), 1);
    EXPECT_THAT(At(samples.positions, 0), ElementsAre(2, 1.5f, 1));
    const float length = std::sqrt(1 + 0.0625f);
    EXPECT_THAT(At(samples.normals, 0),
                Pointwise(FloatNear(1e-6f), Floats{0.25f / length, 0, 1 / length}));
}

TEST(MeshMotion, MovesPointsAsWeightsHaveKeys) {
    auto parts = MorphedPoint({1, 1});
    parts.weights =
        Track(TrackKind::Vector, Interpolation::Linear, 2, {0, 1, 2}, {0, 0, 1, 0, 1, 1});
    const Samples samples = SamplesOf(MeshMotion(parts));
    EXPECT_THAT(At(samples.positions, 0), ElementsAre(1, 1, 1));
    EXPECT_THAT(At(samples.positions, 12), ElementsAre(1, 1.5f, 1));
    EXPECT_THAT(At(samples.positions, 36), ElementsAre(3, 2, 1));
    EXPECT_THAT(BoundOf(MeshMotion(parts)), ElementsAre(1, 5, 1, 2, 1, 1));
}

TEST(MeshMotion, BendsASkinAtAJoint) {
    const Samples samples = SamplesOf(MeshMotion(ArmMesh(90)));
    EXPECT_THAT(At(samples.positions, 0),
                Pointwise(FloatNear(1e-6f), Floats{0, 0, 0, 2, 0, 0, 4, 0, 0}));
    EXPECT_THAT(At(samples.positions, 24),
                Pointwise(FloatNear(1e-6f), Floats{0, 0, 0, 2, 0, 0, 2, 2, 0}));
    const float half = std::sqrt(0.5f);
    EXPECT_THAT(At(samples.normals, 24),
                Pointwise(FloatNear(1e-6f), Floats{0, 1, 0, -half, half, 0, -1, 0, 0}));
}

TEST(MeshMotion, StaysCloseBetweenSamples) {
    const Samples samples = SamplesOf(MeshMotion(ArmMesh(170)));
    double largest = 0;
    for (float frame = 0; frame <= 24; frame += 0.125f) {
        const Floats points = At(samples.positions, frame);
        const double angle = 170 * kPi / 180 * frame / 24;
        largest = std::max(largest, std::hypot(points[6] - 2 - 2 * std::cos(angle),
                                               points[7] - 2 * std::sin(angle)));
    }
    // The mesh is 4 long.
    EXPECT_LE(largest, 0.004);
    EXPECT_GT(largest, 0.0005) << "far more samples than needed";
}

TEST(MeshMotion, IsEnclosedByItsBound) {
    const std::vector<double> bound = BoundOf(MeshMotion(ArmMesh(170)));
    EXPECT_NEAR(bound[0], 0, 1e-6);
    EXPECT_NEAR(bound[1], 4, 1e-6);
    EXPECT_NEAR(bound[2], 0, 1e-6);
    EXPECT_NEAR(bound[3], 2, 1e-2); // the arm points up between two keys
}

TEST(MeshMotion, MovesNormalsByTheInverseTranspose) {
    Skeleton::Node node;
    node.rest = {-1, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1};
    MeshMotion::Parts parts;
    parts.points = {{1, 1, 0}, {0.6f, 0.8f, 0}};
    parts.joints = std::make_shared<MeshMotion::Joints>(
        MeshMotion::Joints{std::make_shared<Skeleton>(std::vector<Skeleton::Node>{node}),
                           {{0}, {Shift(0, 0, 0)}},
                           Influences(1, {{{0, 0, 0, 0}, {1, 0, 0, 0}}}, 1)});
    const Samples samples = SamplesOf(MeshMotion(parts));
    EXPECT_THAT(At(samples.positions, 0), ElementsAre(4, 4, 0));
    const float length = std::hypot(0.6f, 0.2f);
    EXPECT_THAT(At(samples.normals, 0),
                Pointwise(FloatNear(1e-6f), Floats{-0.6f / length, 0.2f / length, 0}));
}

TEST(MeshMotion, JoinsSeveralSetsOfInfluences) {
    std::vector<Matrix> joints;
    for (const double x : {0.0, 10.0, 20.0, 30.0, 40.0})
        joints.push_back(Shift(x, 0, 0));
    const Influences influences(1, {{{0, 1, 2, 3}, {1, 1, 1, 1}}, {{4, 0, 0, 0}, {4, 0, 0, 0}}}, 5);
    Floats point = {0, 0, 0};
    influences.move(0, joints, point.data(), nullptr);
    EXPECT_FLOAT_EQ(point[0], (0 + 10 + 20 + 30) / 8.0f + 40 / 2.0f);
}

TEST(MeshMotion, MovesAPointWithoutWeightsWithItsFirstJoint) {
    const Influences influences(1, {{{1, 0, 0, 0}, {0, 0, 0, 0}}}, 2);
    Floats point = {0, 0, 0};
    influences.move(0, {Shift(1, 0, 0), Shift(2, 0, 0)}, point.data(), nullptr);
    EXPECT_EQ(point[0], 2);
}

TEST(MeshMotion, RefusesIndicesAndSizesThatDoNotFit) {
    EXPECT_THROW(Influences(1, {{{2, 0, 0, 0}, {1, 0, 0, 0}}}, 2), std::runtime_error);
    EXPECT_THROW(Influences(2, {{{1, 0, 0, 0}, {1, 0, 0, 0}}}, 2), std::runtime_error);
    EXPECT_THROW(Influences(1, {}, 2), std::runtime_error);
    EXPECT_NO_THROW(Influences(1, {{{9, 0, 0, 0}, {0, 1, 0, 0}}}, 2)) << "it has no weight";

    auto target = MorphedPoint({1, 1});
    target.targets[0].positions.push_back(0);
    EXPECT_THROW(MeshMotion{target}, std::runtime_error);
    EXPECT_THROW(MeshMotion{MorphedPoint({1})}, std::runtime_error);

    auto arm = ArmMesh(10);
    auto joints = *arm.joints;
    joints.skin.joints[1] = 2;
    arm.joints = std::make_shared<MeshMotion::Joints>(joints);
    EXPECT_THROW(MeshMotion{arm}, std::runtime_error);
    joints.skin.joints[1] = 1;
    joints.skin.inverseBinds.pop_back();
    arm.joints = std::make_shared<MeshMotion::Joints>(joints);
    EXPECT_THROW(MeshMotion{arm}, std::runtime_error);

    Skeleton::Node node;
    node.parent = 0;
    EXPECT_THROW(Skeleton({node}), std::runtime_error);
    node.parent = 1;
    EXPECT_THROW(Skeleton({node}), std::runtime_error);
}

TEST(MeshMotion, KeepsFewerSamplesWhenTheyAreTooLarge) {
    const auto arm = std::make_shared<MeshMotion>(ArmMesh(170));
    const auto before = arm->sampleCount();
    EXPECT_EQ(LimitMotion({arm}, arm->bytes()), 1);
    EXPECT_EQ(arm->sampleCount(), before);
    EXPECT_EQ(arm->bytes(), before * 3 * 6 * sizeof(float));
    EXPECT_LT(LimitMotion({arm}, arm->bytes() / 4), 0.5);
    EXPECT_LE(arm->sampleCount(), before / 4);
    const Samples samples = SamplesOf(*arm);
    EXPECT_NEAR(At(samples.positions, 24)[6], 2 + 2 * std::cos(170 * kPi / 180), 1e-6);
}

} // namespace
