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
    bool isShadow = false; ///< true: for rtcOccluded1; false: for rtcIntersect1
};

// The program is linked so that all calls of rtcIntersect1 and rtcOccluded1 go through functions of
// RayLog.cpp, which add each ray's hit to a checksum. For one thread at a time.

/// The rays that the work traces, in their order.
std::vector<TracedRay> RecordRays(const std::function<void()>& work);

/// The number of rays that the work traces and the checksum of their hits.
Checksum SumRays(const std::function<void()>& work);

/// Traces recorded rays in a bare loop. The geometry must have no filter functions.
Checksum TraceBare(const std::vector<TracedRay>& rays);

} // namespace TellarBench

#endif
