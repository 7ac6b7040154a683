#include <OxTellarSDK/ErrorHandle.h>

#include <atomic>
#include <cstdint>
#include <utility>

/// The object behind a C error handle.
struct OxErrorStruct {
    std::atomic<std::int32_t> refCount{1};
    OxErrorFacts facts{kOxErrorMemory, "There is not enough memory.", "", "", "", "", ""};
    const char* opPlace = "";
};

namespace {

/// An error with the texts that its facts point to.
struct KeptError final : OxErrorStruct {
    explicit KeptError(ErrorFacts parts) : kept(std::move(parts)) {
        facts = {kept.code,           kept.text.c_str(),     kept.op.c_str(),
                 kept.opType.c_str(), kept.location.c_str(), kept.attribute.c_str(),
                 kept.file.c_str()};
        opPlace = kept.opPlace.c_str();
    }

    const ErrorFacts kept;
};

/// Stands in for every error that there is no memory for. It is initialised at compile time, and
/// its count is never read.
OxErrorStruct noMemory;

} // namespace

OxErrorStruct* OxErrorToHandle(ErrorFacts facts) noexcept {
    try {
        return new KeptError(std::move(facts));
    } catch (...) {
        return &noMemory;
    }
}

OxErrorStruct* OxErrorToHandle(const std::exception_ptr& error) noexcept {
    try {
        return OxErrorToHandle(FactsOf(error));
    } catch (...) {
        return &noMemory;
    }
}

void OxRetainError(OxErrorStruct* error) noexcept {
    if (error && error != &noMemory) error->refCount.fetch_add(1, std::memory_order_relaxed);
}

void OxReleaseError(OxErrorStruct* error) noexcept {
    if (!error || error == &noMemory) return;
    // The thread that frees the error must see the reads of the others as done.
    if (error->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete static_cast<KeptError*>(error);
}

const char* OxHandleToErrorPlace(const OxErrorStruct* error) noexcept {
    return error ? error->opPlace : "";
}

OxErrorFacts OxHandleToErrorFacts(const OxErrorStruct* error) noexcept {
    return error ? error->facts : OxErrorFacts{OxErrorCode(), "", "", "", "", "", ""};
}
