#ifndef OXTELLARPRODUCERS_SCENEREVISION_H
#define OXTELLARPRODUCERS_SCENEREVISION_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// An op of a scene. Immutable; revisions that differ in other ops share it.
struct SceneOp {
    std::string name;
    std::vector<std::string> inputs; ///< names; one that is no op's stands for a missing input
    std::shared_ptr<TellarRuntime::Op> op;
};

/// One state of a scene. Immutable.
struct SceneRevision {
    std::uint64_t number = 0;
    std::vector<std::shared_ptr<const SceneOp>> ops; ///< in the order of their creation
    std::string terminal;                            ///< the name of the op that the client cooks
    std::shared_ptr<TellarRuntime::Client> client;
    /// The differences from the revision before this one; null for the first one.
    std::shared_ptr<const SceneChanges> changes;
};

} // namespace TELLAR

#endif
