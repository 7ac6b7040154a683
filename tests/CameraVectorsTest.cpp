#include <OxTellarProducers/ScreenSpace.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/RenderResolution.h>

#include "SceneBuilders.h"

// The library against data/cameras.json, which comes from geometry and from none of its code.

namespace {

using namespace TellarTest;
using Matrix = Imath::Matrix44<double>;
using Vector = Imath::Vec3<double>;
using Producer = TELLAR::GeometryProducer::Ptr;

constexpr const char* kCameraPath = "/root/world/cam/camera";

// The file ----------------------------------------------------------------------------------------

const rapidjson::Value& Member(const rapidjson::Value& object, const char* name) {
    if (!object.IsObject() || !object.HasMember(name))
        throw std::runtime_error(std::string("There is no \"") + name + "\" where it should be.");
    return object[name];
}

double Number(const rapidjson::Value& object, const char* name) {
    const rapidjson::Value& value = Member(object, name);
    if (!value.IsNumber()) throw std::runtime_error(std::string(name) + " is not a number.");
    return value.GetDouble();
}

std::string String(const rapidjson::Value& object, const char* name) {
    const rapidjson::Value& value = Member(object, name);
    if (!value.IsString()) throw std::runtime_error(std::string(name) + " is no string.");
    return value.GetString();
}

std::vector<double> Numbers(const rapidjson::Value& object, const char* name, std::size_t count) {
    const rapidjson::Value& array = Member(object, name);
    std::vector<double> numbers;
    if (array.IsArray()) {
        for (const rapidjson::Value& value : array.GetArray())
            if (value.IsNumber()) numbers.push_back(value.GetDouble());
    }
    if (numbers.size() != count)
        throw std::runtime_error(std::string(name) + " is not as many numbers as it should be.");
    return numbers;
}

Vector ToVector(const std::vector<double>& numbers) {
    return {numbers[0], numbers[1], numbers[2]};
}

struct VectorPoint {
    std::string what;
    Vector local;
    Vector ndc;
    Vector pixel;
};

struct CameraCase {
    std::string name;
    Children geometry; // the camera's attribute
    std::vector<double> cameraXform;
    std::vector<double> locationXform;
    std::string resolution;
    int width;
    int height;
    std::vector<double> projectionMatrix;
    std::vector<double> screenMatrix;
    std::vector<double> screenTolerance;
    std::vector<VectorPoint> points;
};

void PrintTo(const CameraCase& one, std::ostream* out) {
    *out << one.name;
}

struct CameraVectors {
    double ndcTolerance;
    double projectionTolerance;
    double pixelTolerance;
    std::vector<CameraCase> cases;
};

Children ReadLens(const rapidjson::Value& lens) {
    Children geometry{{"projection", Text(String(lens, "projection"))}};
    for (const char* name :
         {"fov", "near", "far", "left", "right", "top", "bottom", "orthographicWidth"})
        geometry.emplace_back(name, Doubles({Number(lens, name)}));
    return geometry;
}

CameraCase ReadCase(const rapidjson::Value& json) {
    const rapidjson::Value& resolution = Member(json, "resolution");
    CameraCase result{String(json, "name"),
                      ReadLens(Member(json, "lens")),
                      Numbers(json, "cameraXform", 16),
                      Numbers(json, "locationXform", 16),
                      String(resolution, "name"),
                      static_cast<int>(Number(resolution, "width")),
                      static_cast<int>(Number(resolution, "height")),
                      Numbers(json, "projectionMatrix", 16),
                      Numbers(json, "screenMatrix", 16),
                      Numbers(json, "screenTolerance", 4),
                      {}};
    for (const rapidjson::Value& point : Member(json, "points").GetArray())
        result.points.push_back({String(point, "what"), ToVector(Numbers(point, "local", 3)),
                                 ToVector(Numbers(point, "ndc", 3)),
                                 ToVector(Numbers(point, "pixel", 3))});
    return result;
}

CameraVectors ReadVectors() {
    std::ifstream file(TELLAR_CAMERA_VECTORS);
    std::ostringstream text;
    text << file.rdbuf();
    rapidjson::Document json;
    json.Parse<rapidjson::kParseFullPrecisionFlag>(text.str().c_str());
    if (json.HasParseError()) throw std::runtime_error(TELLAR_CAMERA_VECTORS " is no JSON.");
    const rapidjson::Value& tolerance = Member(json, "tolerance");
    CameraVectors vectors{
        Number(tolerance, "ndc"), Number(tolerance, "projection"), Number(tolerance, "pixel"), {}};
    for (const rapidjson::Value& one : Member(json, "cases").GetArray())
        vectors.cases.push_back(ReadCase(one));
    return vectors;
}

const CameraVectors& Vectors() {
    static const auto* const vectors = new CameraVectors(ReadVectors());
    return *vectors;
}

// The scene ---------------------------------------------------------------------------------------

Children::value_type Xform(const std::vector<double>& matrix) {
    return {"xform", Group({{"matrix", Doubles(matrix)}})};
}

Producer RootOf(const CameraCase& one) {
    const auto camera = Location({{"geometry", Group(one.geometry)}, Xform(one.cameraXform)});
    const auto points = Location({Xform(one.locationXform)});
    const auto world =
        Location({}, {{"cam", Location({}, {{"camera", camera}})}, {"points", points}});
    const auto settings =
        Group({{"cameraName", Text(kCameraPath)}, {"resolution", Text(one.resolution)}});
    return TELLAR::CreateStaticGeometryProducer(
        "/root", Location({{"renderSettings", settings}}, {{"world", world}}), nullptr);
}

Producer PointsOf(const CameraCase& one) {
    return RootOf(one)->getProducerByPath("/root/world/points", false);
}

// The comparisons ---------------------------------------------------------------------------------

/// Entry by entry, each with a tolerance of its own.
void ExpectMatrix(const Matrix& found, const std::vector<double>& expected,
                  const std::vector<double>& tolerance) {
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(found.getValue()[i], expected[i], tolerance[i])
            << "in row " << i / 4 << " and column " << i % 4;
}

/// Each coordinate within the tolerance times the larger of its size and its value.
void ExpectPoint(const Vector& found, const Vector& expected, double tolerance,
                 const Vector& sizes) {
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(found[axis], expected[axis],
                    tolerance * std::max(sizes[axis], std::fabs(expected[axis])))
            << "in coordinate "
            << "xyz"[axis];
}

class CameraVectorsTest : public testing::TestWithParam<CameraCase> {};

TEST_P(CameraVectorsTest, GiveTheProjectionMatrix) {
    const CameraCase& one = GetParam();
    const auto camera = TELLAR::GetCameraInfo(RootOf(one), kCameraPath);
    ASSERT_NE(camera, nullptr);
    const float aspect = static_cast<float>(one.width) / static_cast<float>(one.height);
    std::vector<double> tolerance;
    for (const double entry : one.projectionMatrix)
        tolerance.push_back(Vectors().projectionTolerance * std::max(1.0, std::fabs(entry)));
    ExpectMatrix(TELLAR::GetProjectionMatrix(*camera, aspect), one.projectionMatrix, tolerance);
}

TEST_P(CameraVectorsTest, GiveTheResolution) {
    int width = 0;
    int height = 0;
    TELLAR::GetRenderResolution(nullptr, &width, &height, RootOf(GetParam()));
    EXPECT_EQ(width, GetParam().width);
    EXPECT_EQ(height, GetParam().height);
}

TEST_P(CameraVectorsTest, GiveTheScreenMatrix) {
    const CameraCase& one = GetParam();
    std::vector<double> tolerance;
    for (std::size_t i = 0; i < 16; ++i)
        tolerance.push_back(one.screenTolerance[i % 4]);
    ExpectMatrix(TELLAR::GetLocalToScreenMatrix(PointsOf(one)), one.screenMatrix, tolerance);
}

TEST_P(CameraVectorsTest, GivePixels) {
    const CameraCase& one = GetParam();
    const Matrix toScreen = TELLAR::GetLocalToScreenMatrix(PointsOf(one));
    for (const VectorPoint& point : one.points) {
        SCOPED_TRACE(point.what);
        Vector found;
        toScreen.multVecMatrix(point.local, found); // divides by w
        ExpectPoint(found, point.pixel, Vectors().pixelTolerance,
                    Vector(one.width, one.height, 1.0));
    }
}

TEST_P(CameraVectorsTest, GiveNormalisedDeviceCoordinates) {
    const CameraCase& one = GetParam();
    std::vector<Vector> points;
    for (const VectorPoint& point : one.points)
        points.push_back(point.local);
    TELLAR::ConvertPointListToNDC(PointsOf(one), kCameraPath, points);
    ASSERT_EQ(points.size(), one.points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        SCOPED_TRACE(one.points[i].what);
        ExpectPoint(points[i], one.points[i].ndc, Vectors().ndcTolerance, Vector(1.0));
    }
}

INSTANTIATE_TEST_SUITE_P(Cameras, CameraVectorsTest, testing::ValuesIn(Vectors().cases),
                         [](const testing::TestParamInfo<CameraCase>& test) {
                             return test.param.name;
                         });

TEST(CameraVectorsFile, HasCasesWithPoints) {
    EXPECT_GE(Vectors().cases.size(), 16u);
    for (const CameraCase& one : Vectors().cases)
        EXPECT_GE(one.points.size(), 5u) << one.name;
}

} // namespace
