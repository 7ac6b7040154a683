#include "SceneRevisions.h"

#include <cmath>
#include <utility>

#include <OxTellarProducers/CreateGeometryProducer.h>

namespace TELLAR {

namespace {

constexpr const char* kRootPath = "/root";

// Thirty years. The clock cannot count to the end of much longer times.
constexpr std::chrono::seconds kLongestWait{1000000000};

bool HaveSameOps(const SceneRevision& a, const SceneRevision& b) {
    return a.client->getOp()->getIdentity() == b.client->getOp()->getIdentity();
}

} // namespace

SceneRevisions::SceneRevisions(std::shared_ptr<const SceneRevision> first)
    : newest(std::move(first)) {}

std::shared_ptr<const SceneRevision> SceneRevisions::getNewest() const {
    const std::lock_guard<std::mutex> guard(lock);
    return newest;
}

std::shared_ptr<const SceneChanges> SceneRevisions::commit(const std::vector<EditStep>& steps) {
    const std::lock_guard<std::mutex> commitGuard(commitLock);
    std::shared_ptr<const SceneRevision> base = getNewest();
    OpDrafts drafts(*base);
    for (const EditStep& step : steps)
        step(drafts);
    const std::shared_ptr<SceneRevision> made = drafts.build();
    made->number = base->number + 1;
    made->changes = std::make_shared<const SceneChanges>(CompareScenes(base->client, made->client));
    {
        const std::lock_guard<std::mutex> guard(lock);
        newest = made; // `base` keeps the old revision, whose end may run code of op types
    }
    replaced.notify_all();
    return made->changes;
}

bool SceneRevisions::waitForOther(const SceneRevision& known,
                                  std::chrono::duration<double> time) const {
    const auto isOther = [&] { return !HaveSameOps(*newest, known); };
    std::unique_lock<std::mutex> guard(lock);
    if (std::isnan(time.count())) return isOther();
    if (time.count() >= 0 && time < kLongestWait) return replaced.wait_for(guard, time, isOther);
    replaced.wait(guard, isOther);
    return true;
}

std::shared_ptr<const SceneChanges> SceneRevisions::compare(const SceneRevision& oldRevision,
                                                            const SceneRevision& newRevision) {
    if (newRevision.number == oldRevision.number + 1) return newRevision.changes;
    return std::make_shared<const SceneChanges>(
        CompareScenes(oldRevision.client, newRevision.client));
}

GeometryProducer::Ptr RootOf(const SceneRevision& revision) {
    return CreateSyncGeometryProducer(revision.client, kRootPath);
}

} // namespace TELLAR
