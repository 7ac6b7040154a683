#ifndef OXTELLARPRODUCERS_CAMERAPROJECTION_H
#define OXTELLARPRODUCERS_CAMERAPROJECTION_H

#include <set>
#include <vector>

#include <Imath/ImathMatrix.h>

#include <OxTellarProducers/CameraInfo.h>

namespace TELLAR {

// Pure functions; any thread.

/// Camera space to clip space, for row vectors: p M, then divide by w. `aspect` is the frame's
/// width divided by its height, `fov` is in degrees. Entries have float precision. Nothing is
/// checked: a lens without extent gives infinities.
///
/// Perspective, with h = near tan(fov / 2), s = h (right - left) / (top - bottom) / aspect, and
/// the window L = left h, R = right h, B = bottom s, T = top s at the near plane:
///
///     2 near / (R - L)   0                  0                             0
///     0                  2 near / (T - B)   0                             0
///     (L + R) / (R - L)  (B + T) / (T - B)  -(near + far) / (far - near)  -1
///     0                  0                  -2 far near / (far - near)    0
///
/// Orthographic; `fov` and `aspect` are not used. Trap: the translation by the window's centre has
/// a plus sign, where other systems have a minus. For a window that is not centred on 0, negate
/// the first two entries of the last row to get the usual matrix:
///
///     2 / (right - left)                0                                0                 0
///     0                                 2 / (top - bottom)               0                 0
///     0                                 0                                -2 / (far - near) 0
///     (left + right) / (right - left)   (bottom + top) / (top - bottom)
///                                                 -(near + far) / (far - near)             1
TELLAR_API Imath::Matrix44<double> GetProjectionMatrix(float near, float far, float left,
                                                       float right, float bottom, float top,
                                                       bool orthographic, float fov, float aspect);

/// The same for a camera. The screen window of an orthographic one is first scaled by half its
/// orthographicWidth; without a width that gives infinities.
TELLAR_API Imath::Matrix44<double> GetProjectionMatrix(const CameraInfo& camera, float aspect);

/// The lens in a camera's "geometry" group, each value interpolated at `time`. Values that are
/// missing or no doubles stay 0, all of them for an invalid group.
TELLAR_API CameraGeometry
GetInterpolatedCameraGeometryFromAttr(OxAttribute::GroupAttribute geometry, float time);

/// Assigns to `relevantTimes`, ascending, the samples that describe the motion while the shutter is
/// open: the last one at or before the opening (if there is none, the first sample), every one in
/// between, and the first one after the closing unless one is at the closing itself.
TELLAR_API void FindSampleTimesRelevantToShutterRange(const std::set<float>& sampleTimes,
                                                      float shutterOpen, float shutterClose,
                                                      std::vector<float>& relevantTimes);

} // namespace TELLAR

#endif
