#ifndef TELLAR_OXSGITERATORSTRUCT_H
#define TELLAR_OXSGITERATORSTRUCT_H

#include <atomic>
#include <cstdint>

#include <OxTellarProducers/GeometryProducer.h>

/// What a C handle onto a location is. It keeps its producer for the whole of its life.
struct OxSgIteratorStruct {
    explicit OxSgIteratorStruct(TELLAR::GeometryProducer::Ptr producer)
        : producer(std::move(producer)) {}

    std::atomic<std::int32_t> refCount{0};
    const TELLAR::GeometryProducer::Ptr producer;
};

namespace TELLAR {

// Both take null.
void RetainIterator(OxSgIteratorStruct* iterator) noexcept;
void ReleaseIterator(OxSgIteratorStruct* iterator) noexcept;

} // namespace TELLAR

#endif
