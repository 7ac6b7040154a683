#ifndef OXTELLARPRODUCERS_LOCATIONHANDLE_H
#define OXTELLARPRODUCERS_LOCATIONHANDLE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/ErrorHandle.h>

#include "LocationSteps.h"
#include "SpareMemory.h"

namespace TELLAR {

/// Texts that a location handle lends. They are made on the first request for one of them.
struct LentTexts {
    std::string fullName;
    // Only for a producer that is no OwnLocation, which has these texts itself.
    std::string name;
    OxAttribute::StringAttribute type;
    OxAttribute::StringAttribute childNames;
};

} // namespace TELLAR

/// The object behind a C location handle of any version: a reference count, the producer that it
/// keeps alive, and the error of a location that could not be cooked.
struct OxSgIteratorStruct {
    /// With a count of 0, as versions 2 and 3 return handles.
    explicit OxSgIteratorStruct(TELLAR::GeometryProducer::Ptr producer)
        : producer(std::move(producer)) {}
    /// With a count of 1. Takes over the reference of an error, which may be null.
    OxSgIteratorStruct(TELLAR::GeometryProducer::Ptr producer, bool isOwn, OxErrorStruct* error)
        : refCount(1), kind(isOwn ? Kind::kOwn : Kind::kUnknown), producer(std::move(producer)),
          error(error) {}
    ~OxSgIteratorStruct() {
        if (error) OxReleaseError(error);
        delete texts.load(std::memory_order_relaxed);
    }
    OxSgIteratorStruct(const OxSgIteratorStruct&) = delete;
    OxSgIteratorStruct& operator=(const OxSgIteratorStruct&) = delete;

    static void* operator new(std::size_t bytes) {
        return TELLAR::SpareMemory<OxSgIteratorStruct>::Take(bytes);
    }
    static void operator delete(void* memory, std::size_t bytes) noexcept {
        TELLAR::SpareMemory<OxSgIteratorStruct>::Give(memory, bytes);
    }

    void retain() noexcept { refCount.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept {
        // The thread that frees the handle must see the writes of the others. The only reference
        // needs no locked subtraction, because no other thread can add one.
        if (refCount.load(std::memory_order_acquire) == 1 ||
            refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    /// Empty for a producer of another kind.
    TELLAR::OwnLocation getOwn() {
        if (kind.load(std::memory_order_relaxed) == Kind::kUnknown)
            kind.store(TELLAR::OwnLocation::of(*producer) ? Kind::kOwn : Kind::kOther,
                       std::memory_order_relaxed);
        return kind.load(std::memory_order_relaxed) == Kind::kOwn
                   ? TELLAR::OwnLocation::known(producer.get())
                   : TELLAR::OwnLocation();
    }

    const TELLAR::LentTexts& getTexts() {
        const TELLAR::LentTexts* const known = texts.load(std::memory_order_acquire);
        return known ? *known : makeTexts();
    }

private:
    enum class Kind : std::uint8_t { kUnknown, kOwn, kOther };

    const TELLAR::LentTexts& makeTexts();

    std::atomic<std::int32_t> refCount{0};
    std::atomic<Kind> kind{Kind::kUnknown}; // every thread finds the same
    std::atomic<const TELLAR::LentTexts*> texts{nullptr};

public:
    const TELLAR::GeometryProducer::Ptr producer; // never null
    OxErrorStruct* const error = nullptr;         // why the location could not be cooked
};

#endif
