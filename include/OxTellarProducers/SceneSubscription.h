#ifndef OXTELLARPRODUCERS_SCENESUBSCRIPTION_H
#define OXTELLARPRODUCERS_SCENESUBSCRIPTION_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/SceneChanges.h>

namespace TELLAR {

struct SceneRevision;
class SceneRevisions;

/// The difference between two revisions of a scene, both of which it keeps alive. A value; copies
/// share the list. Immutable.
class TELLAR_API SceneUpdate {
public:
    /// Never empty.
    const SceneChanges& getChanges() const { return *changes; }

    /// The revision where the changes begin, and the one to which they lead.
    std::uint64_t getOldRevision() const;
    std::uint64_t getNewRevision() const;
    /// "/root" of these revisions, as Scene::getRoot returns it.
    GeometryProducer::Ptr getOldRoot() const;
    GeometryProducer::Ptr getNewRoot() const;

private:
    friend class SceneSubscription;
    SceneUpdate(std::shared_ptr<const SceneRevision> oldRevision,
                std::shared_ptr<const SceneRevision> newRevision,
                std::shared_ptr<const SceneChanges> changes);

    std::shared_ptr<const SceneRevision> oldRevision;
    std::shared_ptr<const SceneRevision> newRevision;
    std::shared_ptr<const SceneChanges> changes;
};

/// Receives the changes of a scene on a thread of the receiver's choice. However many edits there
/// were, it takes one list, which has each location once. It keeps the scene alive, and the
/// revision that was acknowledged last.
///
///     const auto subscription = scene->subscribe();
///     while (isRunning) {
///         if (!subscription->wait(std::chrono::seconds(1))) continue;
///         if (const auto update = subscription->take()) {
///             apply(*update);
///             subscription->acknowledge(*update);
///         }
///     }
///
/// Threads: any thread may call any function.
class TELLAR_API SceneSubscription {
public:
    /// Waits until the ops of the scene differ from those of the acknowledged revision. Returns
    /// false when they do not after that time; a negative time has no end.
    bool wait(std::chrono::duration<double> time);

    /// The changes from the acknowledged revision to the newest one. Nothing when no location
    /// differs; the newest revision is then acknowledged. Unless they are acknowledged, the next
    /// call returns them again, together with newer ones.
    std::optional<SceneUpdate> take();

    /// Later changes begin where these lead. Does nothing for an update that is older than the
    /// acknowledged revision.
    void acknowledge(const SceneUpdate& update);

    ~SceneSubscription();
    SceneSubscription(const SceneSubscription&) = delete;
    SceneSubscription& operator=(const SceneSubscription&) = delete;

private:
    friend class Scene;
    explicit SceneSubscription(std::shared_ptr<SceneRevisions> revisions);

    std::shared_ptr<const SceneRevision> getAcknowledged() const;

    const std::shared_ptr<SceneRevisions> revisions;
    mutable std::mutex lock;
    std::shared_ptr<const SceneRevision> acknowledged; // guarded by the lock
};

} // namespace TELLAR

#endif
