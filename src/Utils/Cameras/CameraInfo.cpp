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

/// Every answer so far by its question, until it is cleared. A question has its entry, empty at
/// first, before its camera is read. Reading may cook, so that happens outside of the lock.
class CameraCache {
public:
    static CameraCache& get() {
        static auto* const cache = new CameraCache;
        return *cache;
    }

    /// Nothing while no thread has the answer; `generation` then tells when it was asked.
    std::optional<Camera> find(const std::string& key, std::uint64_t& generation) {
        const std::lock_guard<std::mutex> guard(lock);
        generation = cleared;
        const Entry& entry = entries[key];
        return entry.isRead ? std::optional<Camera>(entry.camera) : std::nullopt;
    }

    /// The answer that holds from now on: this one, or the camera of a thread which was faster.
    /// Not kept when the cache has been cleared since the question was asked. Needs no memory.
    Camera keep(const std::string& key, std::uint64_t generation, const Camera& camera) {
        const std::lock_guard<std::mutex> guard(lock);
        if (generation != cleared) return camera;
        Entry& entry = entries.find(key)->second;
        if (!entry.camera) entry = {camera, true};
        return entry.camera;
    }

    void clear() {
        std::map<std::string, Entry> dropped; // destroyed outside of the lock
        const std::lock_guard<std::mutex> guard(lock);
        dropped.swap(entries);
        ++cleared;
    }

private:
    struct Entry {
        Camera camera;
        bool isRead = false; // or could not be
    };

    std::mutex lock; // guards everything below
    std::map<std::string, Entry> entries;
    std::uint64_t cleared = 0; // how often
};

/// A camera that this thread is reading, and those that it was reading meanwhile. Who asks for one
/// of them from within finds its empty entry; other threads do not, and read it themselves rather
/// than wait, since this thread may need what they are doing.
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
    if (CameraReading::isUnderWay(key)) return nullptr;
    const CameraReading reading(key);
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
