#include <OxTellarProducers/CameraInfo.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include <OxTellarSDK/MemoryBudget.h>
#include <OxTellarSDK/XFormUtil.h>

#include "CountedEntries.h"
#include "GenerationCache.h"
#include "Lens.h"
#include "MatrixFromAttribute.h"
#include "PerThread.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Camera = std::shared_ptr<CameraInfo>;

/// An entry is there from the first request on, and holds nothing until the camera is read and a
/// null pointer when that failed.
struct Entry {
    std::optional<Camera> camera;
    std::uint32_t usedIn = 0;
};

/// Cameras by path and hash of the producer. Besides ClearCameraInfoCache, only lack of memory
/// removes entries: those of cameras that nobody else refers to. Failures stay.
struct Entries {
    std::map<std::string, Entry> byKey;
    CountedEntries counted;

    static std::uint64_t bytesOf(const std::string& key, const Camera& camera) {
        constexpr std::uint64_t kTableBytes = 64;
        const auto samples = camera ? camera->xformSamples.getNumberOfValues() : 0;
        return kTableBytes + sizeof(Entry) + key.size() +
               (camera ? sizeof(CameraInfo) + 64 : 0) + // the attribute's head
               static_cast<std::uint64_t>(samples) * sizeof(float);
    }

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) {
        std::uint64_t freed = 0;
        for (auto i = byKey.begin(); i != byKey.end() && freed < wanted;) {
            const auto place = i++;
            const Entry& entry = place->second;
            if (!entry.camera || !*entry.camera || entry.camera->use_count() > 1) continue;
            if (entry.usedIn >= usedBefore) continue;
            const std::uint64_t bytes = bytesOf(place->first, *entry.camera);
            freed += bytes;
            counted.drop(bytes);
            byKey.erase(place);
        }
        return freed;
    }
};

class CameraCache final : public OxTellarMemory::Cache {
public:
    CameraCache() : Cache("cameras") {}

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override {
        std::uint64_t freed = 0;
        entries.access([&](Entries& known) { freed = known.drop(usedBefore, wanted); });
        return freed;
    }

    /// Notes the request, and returns the camera if it was read already.
    GenerationCache<Entries>::Generation ask(const std::string& key, std::optional<Camera>& known) {
        const auto asked = entries.access([&](Entries& all) {
            Entry& entry = all.byKey[key];
            entry.usedIn = OxTellarMemory::CurrentTick();
            known = entry.camera;
        });
        known ? hit() : miss();
        return asked;
    }

    /// Returns the camera of another thread if that has been faster. Needs no memory.
    Camera keep(GenerationCache<Entries>::Generation asked, const std::string& key, Camera camera) {
        entries.access(asked, [&](Entries& all) {
            const auto place = all.byKey.find(key);
            if (place == all.byKey.end()) return; // another thread's camera was dropped meanwhile
            std::optional<Camera>& known = place->second.camera;
            if (known && *known) {
                camera = *known;
                return;
            }
            if (known) all.counted.remove(Entries::bytesOf(key, nullptr));
            known = camera;
            all.counted.add(*this, Entries::bytesOf(key, camera));
        });
        return camera;
    }

    GenerationCache<Entries> entries;
};

CameraCache& GetCache() {
    static auto* const cache = new CameraCache;
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
    const auto asked = GetCache().ask(key, known);
    if (known) return *known;
    if (CameraReading::isUnderWay(key)) return nullptr;
    const CameraReading reading(key);
    try {
        const auto location = producer->getProducerByPath(cameraPath, false);
        Camera camera = GetCache().keep(asked, key, location ? ReadCameraInfo(*location) : nullptr);
        OxTellarMemory::RelieveMemory();
        return camera;
    } catch (...) {
        GetCache().keep(asked, key, nullptr);
        throw;
    }
}

void ClearCameraInfoCache() {
    GetCache().entries.clear();
}

} // namespace TELLAR
