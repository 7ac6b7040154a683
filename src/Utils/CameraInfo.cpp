#include <OxTellarProducers/CameraInfo.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <OxTellarSDK/XFormUtil.h>

#include "Lens.h"
#include "MatrixAttribute.h"

using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;

namespace TELLAR {

namespace {

using Camera = std::shared_ptr<CameraInfo>;

/// Every answer so far by its question, until it is cleared. Reading a camera may cook, so that
/// happens outside of the lock.
class CameraCache {
public:
    static CameraCache& get() {
        static auto* const cache = new CameraCache;
        return *cache;
    }

    /// Nothing when the question is new; `generation` then tells when it was asked.
    std::optional<Camera> find(const std::string& key, std::uint64_t& generation) const {
        const std::lock_guard<std::mutex> guard(lock);
        generation = cleared;
        const auto found = answers.find(key);
        return found == answers.end() ? std::nullopt : std::optional<Camera>(found->second);
    }

    /// The answer that holds from now on: this one, or that of a thread which was faster. Not
    /// kept when the cache has been cleared since the question was asked.
    Camera keep(const std::string& key, std::uint64_t generation, const Camera& camera) {
        const std::lock_guard<std::mutex> guard(lock);
        if (generation != cleared) return camera;
        return answers.emplace(key, camera).first->second;
    }

    void clear() {
        std::map<std::string, Camera> dropped; // destroyed outside of the lock
        const std::lock_guard<std::mutex> guard(lock);
        dropped.swap(answers);
        ++cleared;
    }

private:
    mutable std::mutex lock; // guards everything below
    std::map<std::string, Camera> answers;
    std::uint64_t cleared = 0; // how often
};

/// False when one of them is missing or no double.
bool ReadWholeLens(const GroupAttribute& geometry, CameraGeometry& lens) {
    for (const LensField& field : kLensFields) {
        const DoubleAttribute value(geometry.getChildByName(field.name));
        if (!value.isValid()) return false;
        lens.*field.member = static_cast<float>(value.getValue(0.0, false));
    }
    return true;
}

/// In single precision, where two times may become one: such a sample has too many values.
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

/// Empty when there is no such camera.
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

Camera GetCameraInfo(boost::intrusive_ptr<GeometryProducer> producer,
                     const std::string& cameraPath) {
    if (!producer) return nullptr;
    CameraCache& cache = CameraCache::get();
    const std::string key = cameraPath + producer->getHash();
    std::uint64_t generation = 0;
    if (const std::optional<Camera> known = cache.find(key, generation)) return *known;
    try {
        return cache.keep(key, generation, ReadCamera(*producer, cameraPath));
    } catch (...) {
        cache.keep(key, generation, nullptr);
        throw;
    }
}

void ClearCameraInfoCache() {
    CameraCache::get().clear();
}

} // namespace TELLAR
