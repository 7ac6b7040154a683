#ifndef OXTELLARSDK_RUNTIMESTATE_H
#define OXTELLARSDK_RUNTIMESTATE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <OxTellarSDK/TellarRuntime.h>

#include "CookedIndex.h"
#include "LocationStore.h"

namespace OxTellarRuntimeDetail {

/// The Ops and the results of one runtime.
///
/// The lock guards all members, and is held by the caller of each function. An index, once made,
/// lives as long as the runtime and is used without the lock.
struct RuntimeState {
    struct Cooked {
        /// Takes the index from the store's list first.
        struct Forget {
            LocationStore* store = nullptr;
            void operator()(CookedIndex* index) const noexcept;
        };
        // In this order: the index goes while the store is there.
        std::shared_ptr<LocationStore> store;
        std::unique_ptr<CookedIndex, Forget> index;
    };
    using Ops = std::vector<std::shared_ptr<TellarRuntime::Op>>;

    std::mutex lock;
    std::int32_t nextOpId = 0;
    std::vector<std::weak_ptr<TellarRuntime::Op>> ops;
    std::vector<Cooked> cooked;
    std::size_t lookingClients = 0; // those with a view
    bool areResultsTaken = false;   // the Ops have no results, so no client has a view

    /// Forgets the results and Ops that no Op or client looks at any more. The caller has to let go
    /// of the results without the lock: an op type may keep a client of this very runtime there.
    [[nodiscard]] std::vector<Cooked> takeUnused();

    /// The caller has to let go of them without the lock, because it may be the last to hold them.
    [[nodiscard]] Ops livingOps() const;

    /// For Ops whose results were taken, before a client looks at them. Returns livingOps, or
    /// nothing when no results were taken.
    [[nodiscard]] Ops findResultsAgain();

    CookedIndex* indexOf(const std::shared_ptr<LocationStore>& store);
};

} // namespace OxTellarRuntimeDetail

#endif
