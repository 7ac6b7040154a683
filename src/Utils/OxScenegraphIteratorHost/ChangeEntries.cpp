#include <chrono>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include <OxTellarProducers/OxSceneHandle.h>
#include <OxTellarProducers/SceneSubscription.h>

#include "CountedHandle.h"
#include "IteratorEntries.h"

/// The object behind a C handle of a subscription.
struct OxSubscriptionStruct : TELLAR::CountedHandle<OxSubscriptionStruct> {
    explicit OxSubscriptionStruct(std::shared_ptr<TELLAR::SceneSubscription> subscription)
        : subscription(std::move(subscription)) {}

    const std::shared_ptr<TELLAR::SceneSubscription> subscription; // never null
};

/// The object behind a C handle of changes.
struct OxChangesStruct : TELLAR::CountedHandle<OxChangesStruct> {
    explicit OxChangesStruct(TELLAR::SceneUpdate received) : update(std::move(received)) {
        for (const TELLAR::SceneChange& change : update.getChanges()) {
            std::vector<const char*>& names = attributes.emplace_back();
            for (const std::string& name : change.attributes)
                names.push_back(name.c_str());
        }
    }

    const TELLAR::SceneUpdate update;
    std::vector<std::vector<const char*>> attributes; // of each change
};

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

constexpr bool AreEqual(std::uint32_t a, std::uint32_t b) {
    return a == b;
}

static_assert(AreEqual(kOxChangeTransform, kTransformChanged));
static_assert(AreEqual(kOxChangeGeometry, kGeometryChanged));
static_assert(AreEqual(kOxChangeTopology, kTopologyChanged));
static_assert(AreEqual(kOxChangeMaterial, kMaterialChanged));
static_assert(AreEqual(kOxChangeVisibility, kVisibilityChanged));
static_assert(AreEqual(kOxChangeSettings, kSettingsChanged));
static_assert(AreEqual(kOxChangeType, kTypeChanged));
static_assert(AreEqual(kOxChangeChildren, kChildrenChanged));
static_assert(AreEqual(kOxChangeOther, kOtherChanged));
static_assert(AreEqual(kOxChangeError & kAllChanged, 0));

OxSubscriptionStruct* Subscribe(OxSceneStruct* scene) {
    return new OxSubscriptionStruct(OxHandleToScene(NotNull(scene, "scene"))->subscribe());
}

std::int32_t WaitForChanges(OxSubscriptionStruct* subscription, double seconds) {
    constexpr double kEndless = -1.0;
    constexpr double kMost = 1e9; // seconds that every clock can add to its time
    if (!subscription || std::isnan(seconds)) return 0;
    const std::chrono::duration<double> time(seconds > kMost ? kEndless : seconds);
    return subscription->subscription->wait(time) ? 1 : 0;
}

OxChangesStruct* ReceiveChanges(OxSubscriptionStruct* subscription) {
    auto update = NotNull(subscription, "subscription")->subscription->take();
    return update ? new OxChangesStruct(std::move(*update)) : nullptr;
}

void AcknowledgeChanges(OxSubscriptionStruct* subscription, const OxChangesStruct* changes) {
    if (subscription && changes) subscription->subscription->acknowledge(changes->update);
}

std::int64_t GetNumberOfChanges(const OxChangesStruct* changes) {
    return changes ? static_cast<std::int64_t>(changes->update.getChanges().size()) : 0;
}

std::int32_t ToC(SceneChange::Kind kind) {
    switch (kind) {
    case SceneChange::Removed:
        return kOxChangeRemoved;
    case SceneChange::Added:
        return kOxChangeAdded;
    case SceneChange::Changed:
        break;
    }
    return kOxChangeChanged;
}

std::int32_t GetChange(const OxChangesStruct* changes, std::int64_t index, OxChange* change) {
    if (!change) return 0;
    *change = OxChange{"", kOxChangeChanged, 0, nullptr, 0};
    if (index < 0 || index >= GetNumberOfChanges(changes)) return 0;
    const auto place = static_cast<std::size_t>(index);
    const SceneChange& told = changes->update.getChanges()[place];
    change->path = told.path.c_str();
    change->kind = ToC(told.kind);
    if (told.kind == SceneChange::Changed) change->mask = told.mask;
    if (told.kind == SceneChange::Changed && (told.oldError || told.newError))
        change->mask |= kOxChangeError;
    change->attributes = changes->attributes[place].data();
    change->attributeCount = static_cast<std::int64_t>(changes->attributes[place].size());
    return 1;
}

} // namespace

void FillChangeSlots(Suite& suite) {
    TELLAR_SET_ERROR_ENTRY(suite, 43, subscribe, Subscribe);
    TELLAR_SET_SLOT(suite, 44, retainSubscription, OxSubscriptionStruct::retain);
    TELLAR_SET_SLOT(suite, 45, releaseSubscription, OxSubscriptionStruct::release);
    TELLAR_SET_SILENT_ENTRY(suite, 46, waitForChanges, WaitForChanges);
    TELLAR_SET_ERROR_ENTRY(suite, 47, receiveChanges, ReceiveChanges);
    TELLAR_SET_SILENT_ENTRY(suite, 48, acknowledgeChanges, AcknowledgeChanges);
    TELLAR_SET_SLOT(suite, 49, retainChanges, OxChangesStruct::retain);
    TELLAR_SET_SLOT(suite, 50, releaseChanges, OxChangesStruct::release);
    TELLAR_SET_SILENT_ENTRY(suite, 51, getNumberOfChanges, GetNumberOfChanges);
    TELLAR_SET_SILENT_ENTRY(suite, 52, getChange, GetChange);
    TELLAR_SET_ERROR_ENTRY(suite, 53, getChangedRoot,
                           [](const OxChangesStruct* changes, OxErrorStruct*& error) {
                               const SceneUpdate& update = NotNull(changes, "changes")->update;
                               return ToRootHandle([&] { return update.getNewRoot(); }, error);
                           });
    TELLAR_SET_ERROR_ENTRY(suite, 54, getPreviousRoot,
                           [](const OxChangesStruct* changes, OxErrorStruct*& error) {
                               const SceneUpdate& update = NotNull(changes, "changes")->update;
                               return ToRootHandle([&] { return update.getOldRoot(); }, error);
                           });
}

} // namespace TELLAR::ScenegraphIteratorHost4
