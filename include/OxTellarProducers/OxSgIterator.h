#ifndef OXTELLARPRODUCERS_OXSGITERATOR_H
#define OXTELLARPRODUCERS_OXSGITERATOR_H

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

namespace TELLAR {

/// A new handle onto the producer with a count of 0: the receiver calls the suite's retainIterator,
/// and the release that brings the count back to 0 frees it. Null for null. Threads: any.
TELLAR_API OxSgIteratorStruct* OxGeometryProducerToHandle(GeometryProducer::Ptr producer);

/// The producer of a handle, whose count stays as it is. Null for null. Threads: any.
TELLAR_API GeometryProducer::Ptr OxHandleToGeometryProducer(OxSgIteratorStruct* handle);

} // namespace TELLAR

#endif
