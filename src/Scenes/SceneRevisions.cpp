#include "SceneRevisions.h"

#include <utility>

#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "RuntimeRecords.h"

namespace TELLAR {

SceneRevisions::SceneRevisions(std::shared_ptr<const SceneRevision> first)
    : newest(std::move(first)) {}

std::shared_ptr<const SceneRevision> SceneRevisions::getNewest() const {
    const std::lock_guard<std::mutex> guard(lock);
    return newest;
}

std::shared_ptr<const SceneRevision>
MakeFirstRevision(const OxAttribute::GroupAttribute& description) {
    const auto runtime = OxTellarServicesHost().createRuntime();
    if (!runtime) throw TellarError(kOxErrorUnknown, "No runtime can be made");
    const auto transaction = runtime->createTransaction();
    const auto op = OpTreeSource::createFromGroupAttribute(description).getOp(transaction);
    auto revision = std::make_shared<SceneRevision>();
    revision->client = transaction->createClient();
    transaction->setClientOp(revision->client, op);
    runtime->commit(transaction);
    RecordUsage(*runtime);
    return revision;
}

} // namespace TELLAR
