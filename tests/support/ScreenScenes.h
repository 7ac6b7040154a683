#ifndef TELLAR_TEST_SCREENSCENES_H
#define TELLAR_TEST_SCREENSCENES_H

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include "CameraScenes.h"

/// Scenes of a camera and a location before it.
namespace TellarTest {

using Matrix = Imath::Matrix44<double>;
using Point = Imath::Vec3<double>;

inline TELLAR::GeometryProducer::Ptr GeoOf(const OxAttribute::GroupAttribute& scene) {
    return StaticRoot(scene)->getProducerByPath(kGeo);
}

/// The location of a scene whose camera has the unit lens and stands at the origin.
inline TELLAR::GeometryProducer::Ptr GeoBeforeUnitCamera(const Children& geoAttrs = {},
                                                         const Children& rootAttrs = {}) {
    return GeoOf(CameraScene(CameraAttrs(UnitLens()), geoAttrs, rootAttrs));
}

inline Children OrthographicLens(double width) {
    return With(With(UnitLens(), "projection", Text("orthographic")), "orthographicWidth",
                Double(width));
}

/// A location before a camera at (0, 0, 5) whose transform has no inverse.
inline TELLAR::GeometryProducer::Ptr GeoBeforeSingularCamera(const Children& geoAttrs = {}) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform",
                        Group({{"translate", OxAttribute::DoubleAttribute({0.0, 0.0, 5.0}, 3)},
                               {"scale", OxAttribute::DoubleAttribute({0.0, 1.0, 1.0}, 3)}}));
    return GeoOf(CameraScene(camera, geoAttrs));
}

inline OxAttribute::Attribute MatrixAttr(const Matrix& matrix) {
    return Group({{"matrix", OxAttribute::DoubleAttribute(matrix.getValue(), 16, 16)}});
}

/// A placement: turned about two axes, then moved.
inline Matrix Placed(double turn, double tilt, const Point& position) {
    return Matrix().rotate(Point(tilt, 0, 0)) * Matrix().rotate(Point(0, turn, 0)) *
           Matrix().setTranslation(position);
}

} // namespace TellarTest

#endif
