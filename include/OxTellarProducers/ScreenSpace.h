#ifndef OXTELLARPRODUCERS_SCREENSPACE_H
#define OXTELLARPRODUCERS_SCREENSPACE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// Positions and sizes of locations in the picture, with transforms at time 0. A camera whose
// transform has no inverse looks along the world's -z. Exceptions of the platform pass through.
// Threads: as for navigating the producer.

/// The location's local space to pixels of the render camera, for row vectors: p M, then divide
/// by w. x goes from 0 at the left edge to the render resolution's width, y from 0 at the bottom
/// to its height, z from 0 at the near plane to 1 at the far one.
///
/// Throws std::runtime_error "Invalid target producer provided." for null, "Could not get root
/// producer from target producer.", "Could not get camera info." when there is no render camera,
/// and what GetRenderResolution throws.
TELLAR_API Imath::Matrix44<double> GetLocalToScreenMatrix(GeometryProducer::Ptr producer);

/// The same for points of the world, a camera, and the size of a picture in pixels.
TELLAR_API Imath::Matrix44<double> GetWorldToScreenMatrix(const CameraInfo& camera, int width,
                                                          int height);

/// Replaces points in the location's local space by normalised device coordinates of the camera:
/// x from 0 at the left edge of the screen window to 1 at the right one, y from 0 at the bottom
/// to 1 at the top, z from 0 at the near plane to 1 at the far one. GetLocalToScreenMatrix fits the
/// height of the screen window to the frame's aspect, and this function does not.
///
/// With a and b the offsets of a point to the right of the camera's axis and above it, and depth
/// the distance along the axis:
///
///     x = (tan(atan2(a, depth)) / tan(fov / 2) - left) / (right - left)
///     y = (tan(atan2(b, depth)) / tan(fov / 2) - bottom) / (top - bottom)
///     z = (depth - near) / (far - near)
///
/// For an orthographic camera a and b replace the quotients, and the window is scaled by half its
/// orthographicWidth. Points behind the camera are mirrored; their z is negative.
///
/// Points stay as they are when there is no such camera, and for a null producer.
TELLAR_API void ConvertPointListToNDC(GeometryProducer::Ptr producer, const std::string& cameraPath,
                                      std::vector<Imath::Vec3<double>>& points);

/// The same for points of the world and a camera.
TELLAR_API void ConvertWorldPointsToNdc(const CameraInfo& camera, Imath::Vec3<double>* points,
                                        std::size_t count);

/// The number of pixels that the location's "bound" (six doubles: x min, x max, y min, y max, z
/// min, z max, in local space) covers in a picture of the named resolution. Counts the rectangle
/// around its projection, as far as it lies in the camera's screen window.
///
/// The box is clipped at the camera plane. The least and greatest angles of its corners, atan2(a,
/// depth) and atan2(b, depth), become window units by tan(angle) / tan(fov / 2); for an
/// orthographic camera a and b are used, as above. Then, rounded to the nearest,
///
///     pixels = width height (fraction of the window's width) (fraction of its height)
///
/// A box around the view covers the whole picture, and one outside the window or behind the camera
/// plane covers nothing. A box covers at least as much as any box inside it. A bound that is
/// infinite, or overflows in camera space, covers the whole picture; an empty one (a minimum above
/// its maximum) covers 0.
///
/// 0 when there is no such camera, no bound, and for a null producer. Throws as
/// GetRenderResolution does for a resolution that is not in the table.
TELLAR_API int GetPixelAreaThroughCamera(GeometryProducer::Ptr producer,
                                         const std::string& cameraPath,
                                         const std::string& resolution);

/// The same for a box in a space that `toWorld` takes to the world, a camera, and the size of a
/// picture in pixels.
TELLAR_API std::int64_t GetPixelAreaOfBound(const CameraInfo& camera, int width, int height,
                                            const double* bound,
                                            const Imath::Matrix44<double>& toWorld);

} // namespace TELLAR

#endif
