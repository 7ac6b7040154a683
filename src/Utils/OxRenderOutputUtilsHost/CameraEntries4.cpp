#include <algorithm>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/LocationTransforms.h>
#include <OxTellarProducers/OxCameraInfoHandle.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarSDK/TellarError.h>

#include "OxRenderOutputUtilsHost.h"
#include "RenderOutputEntries4.h"
#include "RenderOutputHandles.h"
#include "RenderSettings.h"

namespace TELLAR::RenderOutputUtilsHost4 {

namespace {

using Imath::M44d;
using Imath::V3d;
using Camera = std::shared_ptr<CameraInfo>;

constexpr std::int32_t kWritten = 1;
constexpr std::size_t kMatrixValues = 16;

const CameraInfo& At(const CameraInfoStruct* camera) {
    return *NotNull(camera, "camera")->camera;
}

void CheckPicture(std::int32_t width, std::int32_t height) {
    if (width < 1) throw BadCall{"width", "is less than 1"};
    if (height < 1) throw BadCall{"height", "is less than 1"};
}

/// Null when there is no such camera.
Camera ReadCamera(GeometryProducer& location, const char* path) {
    const auto camera = location.getProducerByPath(NotNull(path, "cameraPath"));
    return camera ? ReadCameraInfo(*camera) : nullptr;
}

OxAttributeStruct* GetPathOfCamera(OxSgIteratorStruct* location) {
    return TextToC(GetCameraPath(RenderOutputUtilsHost4::At(location)->getRootProducer()));
}

CameraInfoStruct* GetCamera(OxSgIteratorStruct* root, const char* path) {
    return OxCameraInfoToHandle(ReadCamera(*RenderOutputUtilsHost4::At(root), path));
}

void GetLens(const CameraInfoStruct* camera, OxLens* lens) noexcept {
    if (!lens) return;
    *lens = OxLens();
    if (!camera) return;
    const CameraInfo& info = *camera->camera;
    lens->fov = info.fov;
    lens->nearDistance = info.near;
    lens->farDistance = info.far;
    lens->left = info.left;
    lens->right = info.right;
    lens->bottom = info.bottom;
    lens->top = info.top;
    lens->isOrthographic = info.orthographic ? 1 : 0;
    lens->orthographicWidth = info.orthographicWidth;
}

std::int32_t GetProjection(const CameraInfoStruct* camera, std::int32_t width, std::int32_t height,
                           double* matrix) {
    const CameraInfo& info = At(camera);
    CheckPicture(width, height);
    NotNull(matrix, "matrix");
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    std::copy_n(GetProjectionMatrix(info, aspect).getValue(), kMatrixValues, matrix);
    return kWritten;
}

/// The points of an array of three doubles each.
V3d* PointsAt(double* points, std::int64_t count) {
    static_assert(sizeof(V3d) == 3 * sizeof(double));
    CheckArray(points, "points", count, "count");
    return reinterpret_cast<V3d*>(points);
}

std::int32_t ConvertToNdc(const CameraInfoStruct* camera, double* points, std::int64_t count) {
    const CameraInfo& info = At(camera);
    ConvertWorldPointsToNdc(info, PointsAt(points, count), static_cast<std::size_t>(count));
    return kWritten;
}

std::int32_t ConvertToPixels(const CameraInfoStruct* camera, std::int32_t width,
                             std::int32_t height, double* points, std::int64_t count) {
    const CameraInfo& info = At(camera);
    CheckPicture(width, height);
    V3d* const first = PointsAt(points, count);
    const M44d toScreen = GetWorldToScreenMatrix(info, width, height);
    std::transform(first, first + count, first,
                   [&toScreen](const V3d& point) { return point * toScreen; });
    return kWritten;
}

std::int64_t GetAreaOfBound(const CameraInfoStruct* camera, std::int32_t width, std::int32_t height,
                            const double* bound, const double* matrix) {
    const CameraInfo& info = At(camera);
    CheckPicture(width, height);
    M44d toWorld;
    if (matrix) std::copy_n(matrix, kMatrixValues, toWorld.getValue());
    return GetPixelAreaOfBound(info, width, height, NotNull(bound, "bound"), toWorld);
}

std::int64_t GetAreaThroughCamera(OxSgIteratorStruct* location, const char* cameraPath,
                                  const char* resolution) {
    const GeometryProducer::Ptr producer = RenderOutputUtilsHost4::At(location);
    const Camera camera = ReadCamera(*producer->getRootProducer(), cameraPath);
    const ResolutionTableEntry picture =
        LookUpResolution(NotNull(resolution, "resolution"), "resolution");
    if (!camera)
        throw TellarError::OfAttribute("cameraPath",
                                       std::string("There is no camera at \"") + cameraPath + "\"");
    const auto bound =
        OxAttribute::DoubleAttribute(producer->getAttribute("bound")).getNearestSample(0.0f);
    if (bound.size() < 6) {
        ErrorFacts facts;
        facts.code = kOxErrorValue;
        facts.location = producer->getFullName();
        facts.attribute = "bound";
        facts.text = "\"" + facts.location + "\" has no \"bound\" of six doubles";
        throw TellarError(std::move(facts));
    }
    return GetPixelAreaOfBound(*camera, picture.getWidth(), picture.getHeight(), bound.data(),
                               GetWorldMatrix(*producer));
}

OxAttributeStruct* GetRelevantTimes(const float* times, std::int64_t count, float shutterOpen,
                                    float shutterClose) {
    CheckArray(times, "times", count, "count");
    return RenderOutputUtilsHost::GetRelevantSampleTimes(times, count, shutterOpen, shutterClose);
}

OxAttributeStruct* GetResolution(OxSgIteratorStruct* location, std::int32_t* width,
                                 std::int32_t* height) {
    std::string name;
    GetRenderResolution(&name, width, height,
                        RenderOutputUtilsHost4::At(location)->getRootProducer());
    return TextToC(name);
}

} // namespace

void FillCameraSlots(Suite& suite) {
    const OxRenderOutputUtilsHostSuite_v3& old = *GetRenderOutputUtilsHostSuite_v3();
    TELLAR_SET_ERROR_ENTRY(suite, 4, getCameraPath, GetPathOfCamera);
    TELLAR_SET_ERROR_ENTRY(suite, 5, getCameraInfo, GetCamera);
    TELLAR_SET_SLOT(suite, 6, retainCameraInfo, old.retainCameraInfo);
    TELLAR_SET_SLOT(suite, 7, releaseCameraInfo, old.releaseCameraInfo);
    TELLAR_SET_SLOT(suite, 8, getCameraLens, GetLens);
    TELLAR_SET_SLOT(suite, 9, getCameraFov, old.getCameraFov);
    TELLAR_SET_SLOT(suite, 10, getCameraNear, old.getCameraNear);
    TELLAR_SET_SLOT(suite, 11, getCameraFar, old.getCameraFar);
    TELLAR_SET_SLOT(suite, 12, getCameraLeft, old.getCameraLeft);
    TELLAR_SET_SLOT(suite, 13, getCameraRight, old.getCameraRight);
    TELLAR_SET_SLOT(suite, 14, getCameraTop, old.getCameraTop);
    TELLAR_SET_SLOT(suite, 15, getCameraBottom, old.getCameraBottom);
    TELLAR_SET_SLOT(suite, 16, getCameraOrthographic, old.getCameraOrthographic);
    TELLAR_SET_SLOT(suite, 17, getCameraOrthographicWidth, old.getCameraOrthographicWidth);
    TELLAR_SET_SLOT(suite, 18, getCameraXform, old.getCameraXform);
    TELLAR_SET_ERROR_ENTRY(suite, 19, getCameraProjection, GetProjection);
    TELLAR_SET_ERROR_ENTRY(suite, 20, convertPointsToNdc, ConvertToNdc);
    TELLAR_SET_ERROR_ENTRY(suite, 21, convertPointsToPixels, ConvertToPixels);
    TELLAR_SET_ERROR_ENTRY(suite, 22, getPixelAreaOfBound, GetAreaOfBound);
    TELLAR_SET_ERROR_ENTRY(suite, 23, getPixelAreaThroughCamera, GetAreaThroughCamera);
    TELLAR_SET_ERROR_ENTRY(suite, 24, getSampleTimesRelevantToShutterRange, GetRelevantTimes);
    TELLAR_SET_ERROR_ENTRY(suite, 25, getRenderResolution, GetResolution);
}

} // namespace TELLAR::RenderOutputUtilsHost4
