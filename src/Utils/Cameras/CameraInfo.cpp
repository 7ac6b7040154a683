#include <OxTellarProducers/CameraInfo.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include <OxTellarSDK/XFormUtil.h>

#include "GenerationCache.h"
#include "Lens.h"
#include "MatrixFromAttribute.h"
#include "PerThread.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Camera = std::shared_ptr<CameraInfo>;

/// Cameras by path and hash of the producer. An entry is there from the first request on, and holds
/// nothing until the camera is read and a null pointer when that failed. Only ClearCameraInfoCache
/// removes entries.
using Entries = std::map<std::string, std::optional<Camera>>;

GenerationCache<Entries>& GetCache() {
    static auto* const cache = new GenerationCache<Entries>;
    return *cache;
}

/// A camera that this thread is reading, in a list with the cameras whose reading led to it. A
/// request for one of them on this thread gets no camera. Other threads read it themselves: if they
/// waited for this thread, and this thread for them, neither would go on.
class CameraReading {
public:
    explicit CameraReading(const std::string& key)
        : key(key), outer(std::exchange(innermost, this)) {}
    ~CameraReading() { innermost = outer; }
    CameraReading(const CameraReading&) = delete;
    CameraReading& operator=(const CameraReading&) = delete;

    static bool isUnderWay(const std::string& key) {
        const CameraReading* reading = innermost;
        while (reading && reading->key != key)
            reading = reading->outer;
        return reading != nullptr;
    }

private:
    static inline TELLAR_THREAD_WORD const CameraReading* innermost = nullptr;

    const std::string& key;
    const CameraReading* const outer;
};

/// False when a value is missing or no double.
bool ReadWholeLens(const GroupAttribute& geometry, CameraGeometry& lens) {
    for (const LensField& field : kLensFields) {
        const DoubleAttribute value(geometry.getChildByName(field.name));
        if (!value.isValid()) return false;
        lens.*field.member = static_cast<float>(value.getValue(0.0, false));
    }
    return true;
}

/// The matrices in single precision.
FloatAttribute ToFloats(const DoubleAttribute& matrices) {
    if (!matrices.isValid()) return {};
    std::map<float, std::vector<float>> samples;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        const float time = matrices.getSampleTime(i);
        const auto values = matrices.getNearestSample(time);
        samples[time].assign(values.begin(), values.end());
    }
    return {samples, 16};
}

} // namespace

Camera ReadCameraInfo(GeometryProducer& location) {
    const GroupAttribute geometry(location.getAttribute("geometry"));
    auto camera = std::make_shared<CameraInfo>();
    if (!geometry.isValid() || !ReadWholeLens(geometry, *camera)) return nullptr;

    const DoubleAttribute matrices =
        OxXFormUtil::CalcTransformMatrixAtExistingTimes(location.getGlobalXFormGroup()).first;
    camera->xform = MatrixFromAttribute(matrices);
    camera->xformSamples = ToFloats(matrices);
    camera->orthographic = IsOrthographic(location.getAttribute("geometry.projection"));
    camera->orthographicWidth = static_cast<float>(
        DoubleAttribute(geometry.getChildByName("orthographicWidth")).getValue(0.0, false));
    return camera;
}

CameraGeometry::CameraGeometry() = default;
CameraGeometry::CameraGeometry(const CameraGeometry& other) = default;
CameraGeometry::CameraGeometry(CameraGeometry&& other) noexcept = default;
CameraGeometry& CameraGeometry::operator=(const CameraGeometry& other) = default;
CameraGeometry& CameraGeometry::operator=(CameraGeometry&& other) noexcept = default;

CameraInfo::CameraInfo() = default;
CameraInfo::CameraInfo(const CameraInfo& other) = default;
CameraInfo::CameraInfo(CameraInfo&& other) noexcept = default;
CameraInfo& CameraInfo::operator=(const CameraInfo& other) = default;
CameraInfo& CameraInfo::operator=(CameraInfo&& other) noexcept = default;
CameraInfo::~CameraInfo() = default;

Camera GetCameraInfo(GeometryProducer::Ptr producer, const std::string& cameraPath) {
    if (!producer) return nullptr;
    const std::string key = cameraPath + producer->getHash();
    std::optional<Camera> known;
    const auto asked = GetCache().access([&](Entries& entries) { known = entries[key]; });
    if (known) return *known;
    if (CameraReading::isUnderWay(key)) return nullptr;
    const CameraReading reading(key);
    // Another thread may have been faster; its camera is then returned. Needs no memory.
    const auto keep = [&](Camera camera) {
        GetCache().access(asked, [&](Entries& entries) {
            std::optional<Camera>& entry = entries.find(key)->second;
            if (!entry || !*entry) entry = camera;
            camera = *entry;
        });
        return camera;
    };
    try {
        const auto location = producer->getProducerByPath(cameraPath, false);
        return keep(location ? ReadCameraInfo(*location) : nullptr);
    } catch (...) {
        keep(nullptr);
        throw;
    }
}

void ClearCameraInfoCache() {
    GetCache().clear();
}

} // namespace TELLAR
