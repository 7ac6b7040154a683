#ifndef OXTELLARPRODUCERS_COUNTEDHANDLE_H
#define OXTELLARPRODUCERS_COUNTEDHANDLE_H

#include <atomic>
#include <cstdint>

namespace TELLAR {

/// The base of an object behind a C handle, which begins with one reference. Both functions accept
/// null and can stand in the slots of a table.
template <typename Handle>
class CountedHandle {
public:
    static void retain(Handle* handle) noexcept {
        if (handle) handle->refCount.fetch_add(1, std::memory_order_relaxed);
    }
    static void release(Handle* handle) noexcept {
        // The thread that frees the handle must see the writes of the others.
        if (handle && handle->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete handle;
    }

private:
    std::atomic<std::int32_t> refCount{1};
};

} // namespace TELLAR

#endif
