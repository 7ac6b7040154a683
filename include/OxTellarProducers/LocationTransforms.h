#ifndef OXTELLARPRODUCERS_LOCATIONTRANSFORMS_H
#define OXTELLARPRODUCERS_LOCATIONTRANSFORMS_H

#include <vector>

#include <Imath/ImathMatrix.h>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// Matrices of locations, for row vectors: p M. Times are in frames relative to the frame.
// Exceptions of the platform pass through. Threads: as for reading the producer.

/// The location's local space to the world; the identity without transforms.
TELLAR_API Imath::Matrix44<double> GetWorldMatrix(GeometryProducer& location, float time = 0.0f);

/// The location's local space to that of its parent, or to the world if its "xform" has an
/// "origin"; the identity without a transform.
TELLAR_API Imath::Matrix44<double> GetLocalMatrix(GeometryProducer& location, float time = 0.0f);

/// The times at which a transform from the root down to the location has samples, ascending. Empty
/// without transforms.
TELLAR_API std::vector<float> GetTransformTimes(GeometryProducer& location);

} // namespace TELLAR

#endif
