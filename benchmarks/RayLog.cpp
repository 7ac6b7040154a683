#include "RayLog.h"

// The linker's option --wrap prescribes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void __real_rtcIntersect1(RTCScene scene, RTCIntersectContext* context, RTCRayHit* ray);
void __real_rtcOccluded1(RTCScene scene, RTCIntersectContext* context, RTCRay* ray);
void __wrap_rtcIntersect1(RTCScene scene, RTCIntersectContext* context, RTCRayHit* ray);
void __wrap_rtcOccluded1(RTCScene scene, RTCIntersectContext* context, RTCRay* ray);
}

namespace TellarBench {

namespace {

Checksum sum;
std::vector<TracedRay>* record = nullptr; // null unless rays are being recorded

void AddHit(const RTCHit& hit) {
    sum.value += hit.instID[0] * std::uint64_t(0x9E3779B97F4A7C15) + hit.primID;
    ++sum.locations;
}

void AddShadow(const RTCRay& ray) {
    sum.value += ray.tfar < 0 ? 1 : 0;
    ++sum.locations;
}

RTCRayHit QueryOf(const RTCRay& ray) {
    RTCRayHit query;
    query.ray = ray;
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    query.hit.primID = RTC_INVALID_GEOMETRY_ID;
    return query;
}

} // namespace

std::vector<TracedRay> RecordRays(const std::function<void()>& work) {
    std::vector<TracedRay> rays;
    record = &rays;
    work();
    record = nullptr;
    return rays;
}

Checksum SumRays(const std::function<void()>& work) {
    sum = {};
    work();
    return sum;
}

Checksum TraceBare(const std::vector<TracedRay>& rays) {
    sum = {};
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    for (const TracedRay& traced : rays) {
        if (traced.isShadow) {
            RTCRay ray = traced.ray;
            __real_rtcOccluded1(traced.scene, &context, &ray);
            AddShadow(ray);
        } else {
            RTCRayHit query = QueryOf(traced.ray);
            __real_rtcIntersect1(traced.scene, &context, &query);
            AddHit(query.hit);
        }
    }
    return sum;
}

} // namespace TellarBench

void __wrap_rtcIntersect1(RTCScene scene, RTCIntersectContext* context, RTCRayHit* ray) {
    using namespace TellarBench;
    if (record) record->push_back({scene, ray->ray, false});
    ray->hit.primID = RTC_INVALID_GEOMETRY_ID; // Embree does not change it where there is no hit
    __real_rtcIntersect1(scene, context, ray);
    AddHit(ray->hit);
}

void __wrap_rtcOccluded1(RTCScene scene, RTCIntersectContext* context, RTCRay* ray) {
    using namespace TellarBench;
    if (record) record->push_back({scene, *ray, true});
    __real_rtcOccluded1(scene, context, ray);
    AddShadow(*ray);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
