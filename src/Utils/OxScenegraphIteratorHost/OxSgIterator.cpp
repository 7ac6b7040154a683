#include <OxTellarProducers/OxSgIterator.h>

#include <utility>

#include "OxSgIteratorStruct.h"

namespace TELLAR {

OxSgIteratorStruct* OxGeometryProducerToHandle(GeometryProducer::Ptr producer) {
    return producer ? new OxSgIteratorStruct(std::move(producer)) : nullptr;
}

GeometryProducer::Ptr OxHandleToGeometryProducer(OxSgIteratorStruct* handle) {
    return handle ? handle->producer : nullptr;
}

void RetainIterator(OxSgIteratorStruct* iterator) noexcept {
    if (iterator) iterator->refCount.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseIterator(OxSgIteratorStruct* iterator) noexcept {
    // The thread that frees the handle must see what the others did with it.
    if (iterator && iterator->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete iterator;
}

} // namespace TELLAR
