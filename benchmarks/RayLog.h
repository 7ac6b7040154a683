#ifndef TELLAR_BENCH_RAYLOG_H
#define TELLAR_BENCH_RAYLOG_H

#include <functional>
#include <vector>

#include <embree3/rtcore.h>

#include "Checksum.h"

namespace TellarBench {

/// A ray as the renderer gave it to Embree.
struct TracedRay {
    RTCScene scene = nullptr;
    RTCRay ray{};
    bool isShadow = false; ///< for rtcOccluded1, else for rtcIntersect1
};

// The program is linked so that all calls of rtcIntersect1 and rtcOccluded1 go through functions of
// RayLog.cpp. They add each ray's hit to a checksum. For one thread.

/// The rays that the work traces, in their order.
std::vector<TracedRay> RecordRays(const std::function<void()>& work);

/// The number of rays that the work traces and the checksum of their hits.
Checksum SumRays(const std::function<void()>& work);

/// The same for a bare loop over these rays. The geometry must have no filter functions.
Checksum TraceBare(const std::vector<TracedRay>& rays);

} // namespace TellarBench

#endif
