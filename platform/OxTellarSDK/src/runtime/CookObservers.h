#ifndef OXTELLARSDK_COOKOBSERVERS_H
#define OXTELLARSDK_COOKOBSERVERS_H

#include <memory>
#include <vector>

#include <OxTellarSDK/CookObserver.h>

namespace OxTellarRuntimeDetail {

using CookObservers = std::vector<std::shared_ptr<OxOpType::CookObserver>>;

/// The observers that a cook which begins now has to tell; null when there are none, which takes
/// one load from memory that is hardly ever written. The list does not change.
std::shared_ptr<const CookObservers> CurrentCookObservers();

} // namespace OxTellarRuntimeDetail

#endif
