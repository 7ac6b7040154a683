#include <OxTellarProducers/CameraInfo.h>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include <OxTellarSDK/XFormUtil.h>

#include "GenerationCache.h"
#include "Lens.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Camera = std::shared_ptr<CameraInfo>;

/// A camera in the cache. The entry is there from the first request on, before the camera is read.
struct Entry {
    Camera camera;
    bool isRead = false; // also when reading failed
};

/// Cameras by path and hash of the producer. Only ClearCameraInfoCache removes any of them.
using CameraCache = GenerationCache<std::map<std::string, Entry>>;

CameraCache& GetCache() {
    static auto* const cache = new CameraCache;
    return *cache;
}

/// Enters the camera, or null when there is none. Returns the camera of another thread if that was
/// faster. Needs no memory.
Camera Keep(const std::string& key, CameraCache::Generation asked, Camera camera) {
    GetCache().access(asked, [&](std::map<std::string, Entry>& entries) {
        Entry& entry = entries.find(key)->second;
        if (!entry.camera) entry = {camera, true};
        camera = entry.camera;
    });
    return camera;
}

/// A camera that this thread is reading, and those whose reading led to it. Code that asks for one
/// of them finds no camera. Other threads read it themselves: they must not wait, because
/// this thread may be waiting for what they do.
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
    static thread_local const CameraReading* innermost;

    const std::string& key;
    const CameraReading* const outer;
};

thread_local const CameraReading* CameraReading::innermost = nullptr;

/// False when a value is missing or no double.
bool ReadWholeLens(const GroupAttribute& geometry, CameraGeometry& lens) {
    for (const LensField& field : kLensFields) {
        const DoubleAttribute value(geometry.getChildByName(field.name));
        if (!value.isValid()) return false;
        lens.*field.member = static_cast<float>(value.getValue(0.0, false));
    }
    return true;
}

/// The matrices in single precision. Two times that become one make a sample with too many values.
FloatAttribute ToFloats(const DoubleAttribute& matrices) {
    if (!matrices.isValid()) return {};
    std::map<float, std::vector<float>> samples;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        const float time = matrices.getSampleTime(i);
        std::vector<float>& values = samples[time];
        for (const double value : matrices.getNearestSample(time))
            values.push_back(static_cast<float>(value));
    }
    return {samples, 16};
}

/// Null when there is no such camera.
Camera ReadCamera(GeometryProducer& producer, const std::string& cameraPath) {
    const auto location = producer.getProducerByPath(cameraPath, false);
    if (!location) return nullptr;
    const GroupAttribute geometry(location->getAttribute("geometry"));
    auto camera = std::make_shared<CameraInfo>();
    if (!geometry.isValid() || !ReadWholeLens(geometry, *camera)) return nullptr;

    const DoubleAttribute matrices =
        OxXFormUtil::CalcTransformMatrixAtExistingTimes(location->getGlobalXFormGroup()).first;
    camera->xform = MatrixFromAttribute(matrices);
    camera->xformSamples = ToFloats(matrices);
    camera->orthographic = IsOrthographic(location->getAttribute("geometry.projection"));
    camera->orthographicWidth = static_cast<float>(
        DoubleAttribute(geometry.getChildByName("orthographicWidth")).getValue(0.0, false));
    return camera;
}

} // namespace

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
    Entry known;
    const CameraCache::Generation asked =
        GetCache().access([&](std::map<std::string, Entry>& entries) { known = entries[key]; });
    if (known.isRead) return known.camera;
    if (CameraReading::isUnderWay(key)) return nullptr;
    const CameraReading reading(key);
    try {
        return Keep(key, asked, ReadCamera(*producer, cameraPath));
    } catch (...) {
        Keep(key, asked, nullptr);
        throw;
    }
}

void ClearCameraInfoCache() {
    GetCache().clear();
}

} // namespace TELLAR
