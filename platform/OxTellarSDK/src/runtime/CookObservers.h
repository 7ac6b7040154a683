#ifndef OXTELLARSDK_COOKOBSERVERS_H
#define OXTELLARSDK_COOKOBSERVERS_H

#include <atomic>
#include <memory>
#include <vector>

#include <OxTellarSDK/CookObserver.h>

namespace OxTellarRuntimeDetail {

using CookObservers = std::vector<std::shared_ptr<OxOpType::CookObserver>>;

extern std::atomic<bool> areCooksObserved; // changes with the list of observers

/// Whether a cook that begins now has observers: one load from memory that is hardly ever written.
inline bool AreCooksObserved() noexcept {
    return areCooksObserved.load(std::memory_order_relaxed);
}

/// The observers that a cook which begins now has to tell; null when there are none. The list does
/// not change.
std::shared_ptr<const CookObservers> CurrentCookObservers();

} // namespace OxTellarRuntimeDetail

#endif
