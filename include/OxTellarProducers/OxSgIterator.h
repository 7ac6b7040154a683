#ifndef OXTELLARPRODUCERS_OXSGITERATOR_H
#define OXTELLARPRODUCERS_OXSGITERATOR_H

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

namespace TELLAR {

/// A new handle onto the producer, whose count is 0: the receiver retains it with the suite's
/// retainIterator, and the release that brings the count back to 0 frees it. Null for null.
/// Threads: any.
TELLAR_API OxSgIteratorStruct*
OxGeometryProducerToHandle(boost::intrusive_ptr<GeometryProducer> producer);

/// The producer behind a handle; the handle's count stays as it is. Null for null.
/// Threads: any.
TELLAR_API boost::intrusive_ptr<GeometryProducer>
OxHandleToGeometryProducer(OxSgIteratorStruct* handle);

} // namespace TELLAR

#endif
