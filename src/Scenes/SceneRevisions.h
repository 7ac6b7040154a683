#ifndef OXTELLARPRODUCERS_SCENEREVISIONS_H
#define OXTELLARPRODUCERS_SCENEREVISIONS_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/SceneChanges.h>

#include "OpDrafts.h"
#include "SceneRevision.h"

namespace TELLAR {

/// A change to the ops of a revision.
using EditStep = std::function<void(OpDrafts&)>;

/// The revisions of one scene, of which it keeps the newest.
///
/// Threads: any thread may call any function. Commits wait for each other and for nobody else.
class SceneRevisions {
public:
    explicit SceneRevisions(std::shared_ptr<const SceneRevision> first);

    std::shared_ptr<const SceneRevision> getNewest() const;

    /// Applies the steps to the newest revision. Throws TellarError, and leaves the revisions as
    /// they are, when a step cannot be applied.
    std::shared_ptr<const SceneChanges> commit(const std::vector<EditStep>& steps);

    /// Waits until the newest revision has other ops than `known`; false when it has the same after
    /// that time. A negative time has no end.
    bool waitForOther(const SceneRevision& known, std::chrono::duration<double> time) const;

    /// The differences between a revision of this scene and a newer one.
    static std::shared_ptr<const SceneChanges> compare(const SceneRevision& oldRevision,
                                                       const SceneRevision& newRevision);

private:
    std::mutex commitLock; // held while a revision is made; taken before the other lock
    mutable std::mutex lock;
    mutable std::condition_variable replaced;
    std::shared_ptr<const SceneRevision> newest; // guarded by `lock`
};

/// "/root" of a revision; null when it does not exist. Throws what cooking it throws.
GeometryProducer::Ptr RootOf(const SceneRevision& revision);

} // namespace TELLAR

#endif
