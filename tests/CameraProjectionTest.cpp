#include <OxTellarProducers/CameraProjection.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using TELLAR::CameraGeometry;
using TELLAR::CameraInfo;
using TELLAR::FindSampleTimesRelevantToShutterRange;
using TELLAR::GetInterpolatedCameraGeometryFromAttr;
using TELLAR::GetProjectionMatrix;
using testing::ElementsAre;
using testing::IsEmpty;

using Matrix = Imath::Matrix44<double>;

constexpr bool kPerspective = false;
constexpr bool kOrthographic = true;

/// A window from -1 to 1 both ways.
Matrix UnitProjection(float fov, float aspect) {
    return GetProjectionMatrix(1.0f, 100.0f, -1.0f, 1.0f, -1.0f, 1.0f, kPerspective, fov, aspect);
}

// Perspective -------------------------------------------------------------------------------------

TEST(PerspectiveProjection, HasEveryEntryInSinglePrecision) {
    const Matrix matrix = UnitProjection(90.0f, 1.0f);
    const float half = std::tan(static_cast<float>(90.0 * 0.5 * 3.14159265 / 180.0));
    EXPECT_EQ(matrix[0][0], static_cast<float>(2.0 / (2 * half)));
    EXPECT_NEAR(matrix[0][0], 1.0, 1e-6);
    EXPECT_NEAR(matrix[1][1], 1.0, 1e-6);
    EXPECT_EQ(matrix[2][2], static_cast<double>(-101.0f / 99.0f));
    EXPECT_EQ(matrix[2][3], -1.0);
    EXPECT_EQ(matrix[3][2], static_cast<double>(static_cast<float>(-200.0 / 99.0)));
    for (const auto& zero :
         {matrix[0][1], matrix[0][2], matrix[0][3], matrix[1][0], matrix[1][2], matrix[1][3],
          matrix[2][0], matrix[2][1], matrix[3][0], matrix[3][1], matrix[3][3]})
        EXPECT_EQ(zero, 0.0);
}

TEST(PerspectiveProjection, TakesItsConstantWithNineDigits) {
    const auto entry = [](float fov, double pi) {
        const float half = std::tan(static_cast<float>(fov * 0.5 * pi / 180.0));
        return static_cast<double>(static_cast<float>(2.0 / (half - -half)));
    };
    int different = 0;
    for (float fov = 1; fov < 179; fov += 0.5f) {
        EXPECT_EQ(UnitProjection(fov, 1.0f)[0][0], entry(fov, 3.14159265)) << fov;
        different += entry(fov, 3.14159265) != entry(fov, 3.14159265358979323846);
    }
    EXPECT_GT(different, 0) << "pi in full would give the same";
}

TEST(PerspectiveProjection, ComputesItsDepthTermInDoublePrecision) {
    int different = 0;
    for (float far = 2.1f; far < 100; far += 0.7f) {
        const float near = 0.1f;
        const double stated = -(2.0 * far * near) / (double(far) - double(near));
        EXPECT_EQ(GetProjectionMatrix(near, far, -1, 1, -1, 1, kPerspective, 90, 1)[3][2],
                  static_cast<double>(static_cast<float>(stated)))
            << far;
        different += -(2.0f * far * near) / (far - near) != static_cast<float>(stated);
    }
    EXPECT_GT(different, 0) << "single precision would give the same";
}

TEST(PerspectiveProjection, StretchesTheHeightByTheAspect) {
    const Matrix square = UnitProjection(90.0f, 1.0f);
    const Matrix wide = UnitProjection(90.0f, 2.0f);
    EXPECT_EQ(wide[1][1], 2.0 * square[1][1]);
    EXPECT_EQ(wide[0][0], square[0][0]);
}

TEST(PerspectiveProjection, DividesTheAspectOfTheWindowByThatOfTheFrame) {
    // A window twice as wide as high, in a frame of the same shape, shows square pixels.
    const Matrix matrix =
        GetProjectionMatrix(1.0f, 100.0f, -1.0f, 1.0f, -0.5f, 0.5f, kPerspective, 90.0f, 2.0f);
    EXPECT_EQ(matrix[0][0], matrix[1][1] / 2.0);
}

TEST(PerspectiveProjection, MovesThePictureWithAnOffCentreWindow) {
    const Matrix matrix =
        GetProjectionMatrix(1.0f, 100.0f, -1.0f, 3.0f, -3.0f, 1.0f, kPerspective, 90.0f, 1.0f);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[2][0]), 0.5f);
    EXPECT_FLOAT_EQ(static_cast<float>(matrix[2][1]), -0.5f);
}

TEST(PerspectiveProjection, FollowsFloatArithmeticWhereNothingIsLeftToSee) {
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(GetProjectionMatrix(1, 100, 1, 1, -1, 1, kPerspective, 90, 1)[0][0], infinity);
    EXPECT_EQ(UnitProjection(90.0f, 0.0f)[1][1], 0.0);
    EXPECT_EQ(GetProjectionMatrix(1, 1, -1, 1, -1, 1, kPerspective, 90, 1)[3][2], -infinity);
    EXPECT_EQ(GetProjectionMatrix(0, 100, -1, 1, -1, 1, kPerspective, 90, 1)[2][2], -1.0);
    EXPECT_TRUE(std::isnan(GetProjectionMatrix(0, 100, -1, 1, -1, 1, kPerspective, 90, 1)[0][0]));
}

TEST(PerspectiveProjection, PutsRandomPointsWhereSimilarTrianglesDo) {
    std::mt19937 random(7);
    const auto between = [&](float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(random);
    };
    for (int i = 0; i < 2000; ++i) {
        SCOPED_TRACE(i);
        const float fov = between(5, 150), aspect = between(0.3f, 3);
        const float left = between(-2, -0.1f), right = between(0.1f, 2);
        const float bottom = between(-2, -0.1f), top = between(0.1f, 2);
        const float near = between(0.01f, 1), far = between(2, 1000);
        const Matrix matrix =
            GetProjectionMatrix(near, far, left, right, bottom, top, kPerspective, fov, aspect);
        const Imath::V3d point(between(-5, 5), between(-5, 5), -between(0.5f, 50));

        Imath::V3d clip;
        matrix.multVecMatrix(point, clip);
        const double unit =
            -point.z * std::tan(fov * M_PI / 360); // half of the window at that depth
        const double windowX = point.x / unit;
        const double stretch = (double(right) - left) / (double(top) - bottom) / aspect;
        const double windowY = point.y / (unit * stretch);
        const auto expectNear = [](double actual, double expected) {
            EXPECT_NEAR(actual, expected, 5e-6 * std::max(1.0, std::abs(expected)));
        };
        expectNear((clip.x + 1) / 2, (windowX - left) / (right - left));
        expectNear((clip.y + 1) / 2, (windowY - bottom) / (top - bottom));
    }
}

// Orthographic ------------------------------------------------------------------------------------

TEST(OrthographicProjection, HasEveryEntry) {
    const Matrix matrix =
        GetProjectionMatrix(1.0f, 101.0f, -2.0f, 2.0f, -4.0f, 4.0f, kOrthographic, 90.0f, 3.0f);
    EXPECT_EQ(matrix, Matrix(0.5, 0, 0, 0, 0, 0.25, 0, 0, 0, 0, double(-0.02f), 0, 0, 0,
                             double(-102.0f / 100.0f), 1));
}

TEST(OrthographicProjection, HasAPlusSignInItsTranslation) {
    const Matrix matrix =
        GetProjectionMatrix(1.0f, 101.0f, 0.0f, 2.0f, 0.0f, 2.0f, kOrthographic, 0.0f, 0.0f);
    EXPECT_EQ(matrix[3][0], 1.0);
    EXPECT_EQ(matrix[3][1], 1.0);
}

TEST(OrthographicProjection, ScalesACamerasWindowByHalfItsWidth) {
    CameraInfo camera;
    camera.near = 1;
    camera.far = 101;
    camera.left = -1;
    camera.right = 1;
    camera.bottom = -0.5f;
    camera.top = 0.75f;
    camera.orthographic = true;
    camera.orthographicWidth = 8;
    EXPECT_EQ(GetProjectionMatrix(camera, 1.0f),
              GetProjectionMatrix(1, 101, -4, 4, -2, 3, kOrthographic, 0, 1));
}

TEST(OrthographicProjection, IsInfiniteForACameraWithoutAWidth) {
    CameraInfo camera;
    camera.left = -1;
    camera.right = 1;
    camera.bottom = -1;
    camera.top = 1;
    camera.far = 1;
    camera.orthographic = true;
    const Matrix matrix = GetProjectionMatrix(camera, 1.0f);
    EXPECT_TRUE(std::isinf(matrix[0][0]));
    EXPECT_TRUE(std::isnan(matrix[3][0]));
}

TEST(PerspectiveProjection, OfACameraIsThatOfItsLens) {
    CameraInfo camera;
    camera.fov = 40;
    camera.near = 0.1f;
    camera.far = 10;
    camera.left = -1;
    camera.right = 0.5f;
    camera.bottom = -0.25f;
    camera.top = 0.75f;
    camera.orthographicWidth = 8; // nothing to it
    EXPECT_EQ(GetProjectionMatrix(camera, 1.5f),
              GetProjectionMatrix(0.1f, 10, -1, 0.5f, -0.25f, 0.75f, kPerspective, 40, 1.5f));
}

// Every bit ---------------------------------------------------------------------------------------

/// Entries to the bit, each step in the precision that renderers of this family take it in.
struct StatedProjection {
    float near, far, left, right, bottom, top, fov, aspect;

    Matrix perspective() const {
        const double angle = static_cast<double>(fov) * 0.5 * 3.14159265 / 180.0;
        const float h = std::tan(static_cast<float>(angle)) * near;
        const float windowWidth = right - left;
        const float windowHeight = top - bottom;
        const float windowAspect = windowWidth / windowHeight;
        const float s = windowAspect / aspect * h;
        const float L = left * h, R = right * h, B = bottom * s, T = top * s;
        const double twoNear = 2.0 * static_cast<double>(near);
        const float width = R - L, height = T - B;
        const double depth = static_cast<double>(far) - static_cast<double>(near);
        const double twoFarNear = 2.0 * static_cast<double>(far) * static_cast<double>(near);
        Matrix m(0.0);
        m[0][0] = static_cast<float>(twoNear / static_cast<double>(width));
        m[1][1] = static_cast<float>(twoNear / static_cast<double>(height));
        m[2][0] = singleQuotient(L + R, width);
        m[2][1] = singleQuotient(B + T, height);
        m[2][2] = -singleQuotient(near + far, far - near);
        m[2][3] = -1.0;
        m[3][2] = static_cast<float>(-twoFarNear / depth);
        return m;
    }

    Matrix orthographic() const {
        const auto perExtent = [](double twice, float low, float high) {
            const double extent = static_cast<double>(high) - static_cast<double>(low);
            return static_cast<float>(twice / extent);
        };
        Matrix m(0.0);
        m[0][0] = perExtent(2.0, left, right);
        m[1][1] = perExtent(2.0, bottom, top);
        m[2][2] = perExtent(-2.0, near, far);
        m[3][0] = singleQuotient(left + right, right - left);
        m[3][1] = singleQuotient(bottom + top, top - bottom);
        m[3][2] = -singleQuotient(near + far, far - near);
        m[3][3] = 1.0;
        return m;
    }

private:
    static float singleQuotient(float dividend, float divisor) { return dividend / divisor; }
};

void ExpectStatedProjections(unsigned int seed) {
    std::mt19937 random(seed);
    const auto between = [&](float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(random);
    };
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const StatedProjection lens{between(0.001f, 2), between(3, 10000),   between(-3, -0.01f),
                                    between(0.01f, 3),  between(-3, -0.01f), between(0.01f, 3),
                                    between(1, 170),    between(0.2f, 5)};
        const auto project = [&lens](bool isOrthographic) {
            return GetProjectionMatrix(lens.near, lens.far, lens.left, lens.right, lens.bottom,
                                       lens.top, isOrthographic, lens.fov, lens.aspect);
        };
        EXPECT_EQ(project(kPerspective), lens.perspective());
        EXPECT_EQ(project(kOrthographic), lens.orthographic());
    }
}

TEST(Projection, OfRandomLensesIsWhatIsStatedToTheBit) {
    ExpectStatedProjections(23);
}

TEST(Projection, MayBeAskedForByManyThreads) {
    RunTogether(4, [](int number) { ExpectStatedProjections(static_cast<unsigned int>(number)); });
}

// Lens at a time ----------------------------------------------------------------------------------

TEST(InterpolatedCameraGeometry, InterpolatesEveryValue) {
    const auto moving = [](double from, double to) {
        const std::map<float, std::vector<double>> samples{{0.0f, {from}}, {2.0f, {to}}};
        return DoubleAttribute(samples, 1);
    };
    const CameraGeometry lens =
        GetInterpolatedCameraGeometryFromAttr(Group({{"fov", moving(10, 20)},
                                                     {"near", moving(1, 3)},
                                                     {"far", moving(100, 50)},
                                                     {"left", moving(-1, -2)},
                                                     {"right", moving(1, 2)},
                                                     {"top", moving(0.1, 0.1)},
                                                     {"bottom", moving(-3, 3)},
                                                     {"projection", Text("orthographic")}}),
                                              0.5f);
    EXPECT_EQ(lens.fov, 12.5f);
    EXPECT_EQ(lens.near, 1.5f);
    EXPECT_EQ(lens.far, 87.5f);
    EXPECT_EQ(lens.left, -1.25f);
    EXPECT_EQ(lens.right, 1.25f);
    EXPECT_EQ(lens.top, 0.1f);
    EXPECT_EQ(lens.bottom, -1.5f);
    EXPECT_TRUE(lens.orthographic);
}

TEST(InterpolatedCameraGeometry, LeavesWhatIsMissingOrNoDoubleAtZero) {
    const CameraGeometry lens = GetInterpolatedCameraGeometryFromAttr(
        Group({{"fov", Int(45)}, {"far", Double(9)}, {"top", Doubles({})}}), 0.0f);
    EXPECT_EQ(lens.fov, 0.0f);
    EXPECT_EQ(lens.near, 0.0f);
    EXPECT_EQ(lens.far, 9.0f);
    EXPECT_EQ(lens.top, 0.0f);
    EXPECT_FALSE(lens.orthographic);
}

TEST(InterpolatedCameraGeometry, OfAnInvalidGroupIsAllZeros) {
    const CameraGeometry lens = GetInterpolatedCameraGeometryFromAttr({}, 1.0f);
    EXPECT_EQ(lens.fov, 0.0f);
    EXPECT_FALSE(lens.orthographic);
}

TEST(InterpolatedCameraGeometry, WithoutNearProjectsNothingAcross) {
    const CameraGeometry lens =
        GetInterpolatedCameraGeometryFromAttr(Group(Without(UnitLens(), "near")), 0.0f);
    EXPECT_EQ(lens.near, 0.0f);
    EXPECT_EQ(lens.far, 101.0f);
    // 2 near over a window that shrinks with near: nothing by nothing.
    EXPECT_TRUE(
        std::isnan(GetProjectionMatrix(lens.near, lens.far, lens.left, lens.right, lens.bottom,
                                       lens.top, false, lens.fov, 1.0f)[0][0]));
}

// Shutter -----------------------------------------------------------------------------------------

std::vector<float> Relevant(const std::set<float>& times, float open, float close) {
    std::vector<float> relevant{42.0f}; // left from before
    FindSampleTimesRelevantToShutterRange(times, open, close, relevant);
    return relevant;
}

TEST(ShutterSamples, AreThoseAroundAndInsideTheInterval) {
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 1.5f, 2.5f), ElementsAre(1, 2, 3));
    EXPECT_THAT(Relevant({0, 1, 2, 3, 4}, 0.5f, 1.5f), ElementsAre(0, 1, 2));
}

TEST(ShutterSamples, StopAtSamplesThatLieOnTheEdges) {
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 1.0f, 2.0f), ElementsAre(1, 2));
}

TEST(ShutterSamples, AreOneWhenTheShutterIsOpenBeforeOrAfterAllOfThem) {
    EXPECT_THAT(Relevant({0, 1, 2, 3}, -1.0f, -0.5f), ElementsAre(0));
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 5.0f, 6.0f), ElementsAre(3));
}

TEST(ShutterSamples, OfAnInstantAreTheTwoAroundItOrTheOneOnIt) {
    EXPECT_THAT(Relevant({0, 1, 2}, 0.5f, 0.5f), ElementsAre(0, 1));
    EXPECT_THAT(Relevant({0, 1, 2}, 1.0f, 1.0f), ElementsAre(1));
}

TEST(ShutterSamples, OfNoSamplesAreNone) {
    EXPECT_THAT(Relevant({}, 0.0f, 1.0f), IsEmpty());
}

/// The last time at or before the opening or the first of all, those within, and the first one
/// after the closing unless there is one at it or beyond already.
std::set<float> StatedRelevant(const std::set<float>& times, float open, float close) {
    std::set<float> relevant;
    if (times.empty()) return relevant;
    const auto afterOpening = times.upper_bound(open);
    relevant.insert(afterOpening == times.begin() ? *afterOpening : *std::prev(afterOpening));
    relevant.insert(times.lower_bound(open), times.upper_bound(close));
    const auto afterClosing = times.upper_bound(close);
    if (*relevant.rbegin() < close && afterClosing != times.end()) relevant.insert(*afterClosing);
    return relevant;
}

TEST(ShutterSamples, OfRandomTimesAreWhatIsStated) {
    std::mt19937 random(29);
    const auto quarters = [&](int low, int high) { // so that times meet
        return 0.25f * static_cast<float>(std::uniform_int_distribution<int>(low, high)(random));
    };
    for (int i = 0; i < 500; ++i) {
        std::set<float> times;
        for (int count = std::uniform_int_distribution<int>(0, 9)(random); count > 0; --count)
            times.insert(quarters(-8, 8));
        const float open = quarters(-12, 12);
        const float close = open + quarters(0, 8);
        SCOPED_TRACE(testing::Message()
                     << testing::PrintToString(times) << " from " << open << " to " << close);
        EXPECT_THAT(Relevant(times, open, close),
                    testing::ElementsAreArray(StatedRelevant(times, open, close)));
    }
}

TEST(ShutterSamples, AreOneWhenTheShutterClosesBeforeItOpens) {
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 2.5f, 0.5f), ElementsAre(2));
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 2.0f, 1.0f), ElementsAre(2));
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 0.5f, -1.0f), ElementsAre(0));
    EXPECT_THAT(Relevant({0, 1, 2, 3}, 5.0f, -5.0f), ElementsAre(3));
    EXPECT_THAT(Relevant({0, 1, 2, 3}, -1.0f, -2.0f), ElementsAre(0));
}

TEST(ShutterSamples, AreNoneWhenTheShutterClosesBeforeAllOfThemAndBefore9999FramesAgo) {
    // -9999 stands for "nothing kept yet", and that lies beyond such a closing.
    EXPECT_THAT(Relevant({-10000, 0}, -20000.0f, -15000.0f), IsEmpty());
    EXPECT_THAT(Relevant({-10000, 0}, -20000.0f, -9998.0f), ElementsAre(-10000, 0));
}

} // namespace
