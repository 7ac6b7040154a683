#ifndef OXTELLARSDK_COOKWAITERS_H
#define OXTELLARSDK_COOKWAITERS_H

#include "LocationStore.h"

namespace OxTellarRuntimeDetail {

/// Waits until no thread cooks the location. Returns false without waiting when the cook cannot end
/// before the calling thread continues.
[[nodiscard]] bool WaitForCook(LocationNode& node);

/// Ends the calling thread's cook of the location and wakes the threads that wait for it. The
/// result of the cook must be in the node by then.
void EndCook(LocationNode& node);

} // namespace OxTellarRuntimeDetail

#endif
