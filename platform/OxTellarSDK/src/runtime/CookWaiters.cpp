#include "CookWaiters.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "CookWaits.h"

namespace OxTellarRuntimeDetail {

namespace {

/// The threads that wait for cooks of some locations.
struct alignas(64) Waiters {
    std::mutex lock;
    std::condition_variable cooked;
};

Waiters& WaitersFor(const LocationNode& node) {
    static auto* const waiters = new std::array<Waiters, 64>;
    return (*waiters)[reinterpret_cast<std::uintptr_t>(&node) / sizeof(LocationNode) % 64];
}

} // namespace

bool WaitForCook(LocationNode& node) {
    const WaitScope wait(&node);
    if (!wait.canEnd()) return false;
    Waiters& waiters = WaitersFor(node);
    std::unique_lock<std::mutex> guard(waiters.lock);
    std::uint8_t state = node.state.load(std::memory_order_acquire);
    while (state & LocationNode::kCooking) {
        const std::uint8_t awaited = state | LocationNode::kAwaited;
        if (!node.state.compare_exchange_weak(state, awaited, std::memory_order_acquire)) continue;
        waiters.cooked.wait(guard);
        state = node.state.load(std::memory_order_acquire);
    }
    return true;
}

void EndCook(LocationNode& node) {
    constexpr std::uint8_t over = LocationNode::kCooking | LocationNode::kAwaited;
    const std::uint8_t before =
        node.state.fetch_and(static_cast<std::uint8_t>(~over), std::memory_order_acq_rel);
    if (!(before & LocationNode::kAwaited)) return;
    Waiters& waiters = WaitersFor(node);
    // A thread that has set kAwaited under the lock waits by now. One that has not set it yet will
    // see that the cook is over.
    { const std::lock_guard<std::mutex> guard(waiters.lock); }
    waiters.cooked.notify_all();
}

} // namespace OxTellarRuntimeDetail
