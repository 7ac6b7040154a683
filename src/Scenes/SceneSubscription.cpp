#include <OxTellarProducers/SceneSubscription.h>

#include <utility>

#include "SceneRevisions.h"

namespace TELLAR {

SceneUpdate::SceneUpdate(std::shared_ptr<const SceneRevision> oldRevision,
                         std::shared_ptr<const SceneRevision> newRevision,
                         std::shared_ptr<const SceneChanges> changes)
    : oldRevision(std::move(oldRevision)), newRevision(std::move(newRevision)),
      changes(std::move(changes)) {}

std::uint64_t SceneUpdate::getOldRevision() const {
    return oldRevision->number;
}

std::uint64_t SceneUpdate::getNewRevision() const {
    return newRevision->number;
}

GeometryProducer::Ptr SceneUpdate::getOldRoot() const {
    return RootOf(*oldRevision);
}

GeometryProducer::Ptr SceneUpdate::getNewRoot() const {
    return RootOf(*newRevision);
}

SceneSubscription::SceneSubscription(std::shared_ptr<SceneRevisions> revisions)
    : revisions(std::move(revisions)), acknowledged(this->revisions->getNewest()) {}

SceneSubscription::~SceneSubscription() = default;

std::shared_ptr<const SceneRevision> SceneSubscription::getAcknowledged() const {
    const std::lock_guard<std::mutex> guard(lock);
    return acknowledged;
}

bool SceneSubscription::wait(std::chrono::duration<double> time) {
    return revisions->waitForOther(*getAcknowledged(), time);
}

std::optional<SceneUpdate> SceneSubscription::take() {
    const std::shared_ptr<const SceneRevision> oldRevision = getAcknowledged();
    const std::shared_ptr<const SceneRevision> newRevision = revisions->getNewest();
    if (newRevision->number <= oldRevision->number) return {};
    SceneUpdate update(oldRevision, newRevision,
                       SceneRevisions::compare(*oldRevision, *newRevision));
    if (!update.getChanges().empty()) return update;
    acknowledge(update);
    return {};
}

void SceneSubscription::acknowledge(const SceneUpdate& update) {
    std::shared_ptr<const SceneRevision> freed = update.newRevision;
    const std::lock_guard<std::mutex> guard(lock);
    if (freed->number > acknowledged->number) acknowledged.swap(freed);
}

} // namespace TELLAR
