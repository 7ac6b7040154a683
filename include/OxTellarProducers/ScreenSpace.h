#ifndef OXTELLARPRODUCERS_SCREENSPACE_H
#define OXTELLARPRODUCERS_SCREENSPACE_H

#include <string>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// Where locations are on the picture. All use transforms at time 0. The inverse of a camera's
// transform that has none is taken to be the identity: it then looks along the world's -z.
// Exceptions of the platform pass through. Threads: as for navigating the producer.

/// The location's local space to pixels of the render camera, for row vectors: p M, then divide
/// by w. x goes from 0 at the left edge to the render resolution's width, y from 0 at the bottom
/// to its height, z from 0 at the near plane to 1 at the far one.
///
/// Throws std::runtime_error "Invalid target producer provided." for null, "Could not get root
/// producer from target producer.", "Could not get camera info." when there is no render camera,
/// and what GetRenderResolution throws.
TELLAR_API Imath::Matrix44<double>
GetLocalToScreenMatrix(boost::intrusive_ptr<GeometryProducer> producer);

/// Replaces points in the location's local space by normalised device coordinates of the camera:
/// x from 0 at the left edge of the screen window to 1 at the right one, y from 0 at the bottom
/// to 1 at the top, z from 0 at the near plane to 1 at the far one. Unlike the screen matrix, it
/// takes the screen window as it is: pixels are square only if the window has the frame's aspect.
///
/// With a and b the distances of a point to the right of the camera's axis and above it, and
/// depth the one along it:
///
///     x = (tan(atan2(a, depth)) / tan(fov / 2) - left) / (right - left)
///     y = (tan(atan2(b, depth)) / tan(fov / 2) - bottom) / (top - bottom)
///     z = (depth - near) / (far - near)
///
/// For an orthographic camera a and b themselves take the place of the quotients, and the window
/// is scaled by half its orthographicWidth. Points behind the camera are mirrored; z tells.
///
/// Points stay as they are when there is no such camera, and for a null producer.
TELLAR_API void ConvertPointListToNDC(boost::intrusive_ptr<GeometryProducer> producer,
                                      const std::string& cameraPath,
                                      std::vector<Imath::Vec3<double>>& points);

/// How many pixels of a picture of the named resolution the location's "bound" (six doubles: x
/// min, x max, y min, y max, z min, z max, in local space) covers: those of the rectangle around
/// its projection that lie in the camera's screen window.
///
/// The part of the box in front of the camera plane has its corners where the box has them, and
/// where an edge of the box meets the plane. Of these, the least and greatest angles to the right
/// of the camera's axis and above it, atan2(a, depth) and atan2(b, depth), are turned to window
/// units by tan(angle) / tan(fov / 2); an orthographic camera takes a and b themselves and scales
/// its window, as above. Then
///
///     pixels = width height (share of the window's width) (share of its height)
///
/// rounded to the nearest. So a box that fills or encloses the view covers width x height, one
/// outside the window or behind the camera plane covers 0, and no box covers less than a box
/// inside it. A bound that is infinite, or becomes so when it is placed before the camera, covers
/// the whole picture wherever it lies; an empty one (a minimum beyond its maximum) covers 0.
///
/// 0 when there is no such camera, no bound, and for a null producer. Throws as
/// GetRenderResolution does for a resolution that is not in the table.
TELLAR_API int GetPixelAreaThroughCamera(boost::intrusive_ptr<GeometryProducer> producer,
                                         const std::string& cameraPath,
                                         const std::string& resolution);

} // namespace TELLAR

#endif
