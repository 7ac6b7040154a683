#include <OxTellarProducers/OxSceneHandle.h>

#include <utility>

#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/TellarError.h>

#include "CountedHandle.h"
#include "IteratorEntries.h"
#include "OxScenegraphIteratorHost.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;

/// The object behind a C scene handle.
struct OxSceneStruct : TELLAR::CountedHandle<OxSceneStruct> {
    explicit OxSceneStruct(std::shared_ptr<TELLAR::Scene> scene) : scene(std::move(scene)) {}

    const std::shared_ptr<TELLAR::Scene> scene; // never null
};

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

std::shared_ptr<Scene> Open(const char* path) {
    return Scene::Open(NotNull(path, "path"));
}

std::shared_ptr<Scene> OpenDescription(const OxAttributeStruct* description) {
    auto* const handle = const_cast<OxAttributeStruct*>(NotNull(description, "description"));
    const GroupAttribute ops(Attribute::CreateAndRetain(handle));
    if (!ops.isValid()) throw BadCall{"description", "is no group"};
    return Scene::FromDescription(ops);
}

OxSgIteratorStruct* GetRoot(const Scene& scene, OxErrorStruct*& error) {
    return ToRootHandle([&scene] { return scene.getRoot(); }, error);
}

OxAttributeStruct* LoadDescription(const char* path) {
    const std::string file = NotNull(path, "path");
    OxAttribute::FileStream stream(file, true);
    GroupAttribute ops(Attribute::readAttributeStream(&stream, &OxAttribute::FileStream::read, 0));
    if (!ops.isValid())
        throw TellarError::OfFile(file, "\"" + file + "\" holds no op-tree description");
    return ops.detach();
}

void GetIdentity(const OxSceneStruct* scene, std::uint64_t words[2]) {
    if (!words) return;
    words[0] = words[1] = 0; // also when the call throws
    if (!scene) return;
    const OxAttribute::Hash identity = scene->scene->getIdentity();
    words[0] = identity.words[0];
    words[1] = identity.words[1];
}

std::int64_t GetRevision(const OxSceneStruct* scene) {
    return scene ? static_cast<std::int64_t>(scene->scene->getRevision()) : 0;
}

/// Drops the results of the scene's runtime, unless the scene is rendered live.
void FinalizeRuntime(OxSgIteratorStruct* location) {
    const auto client = location ? location->producer->getClient() : nullptr;
    if (!client || IsRenderedLive(*client)) return;
    if (const auto runtime = client->getRuntime()) runtime->finalize();
}

} // namespace

void FillSceneSlots(Suite& suite) {
    TELLAR_SET_ERROR_ENTRY(suite, 0, openScene,
                           [](const char* path) { return OxSceneToHandle(Open(path)); });
    TELLAR_SET_ERROR_ENTRY(suite, 1, openDescription, [](const OxAttributeStruct* description) {
        return OxSceneToHandle(OpenDescription(description));
    });
    TELLAR_SET_SLOT(suite, 2, retainScene, OxSceneStruct::retain);
    TELLAR_SET_SLOT(suite, 3, releaseScene, OxSceneStruct::release);
    TELLAR_SET_SILENT_ENTRY(suite, 4, getSceneIdentity, GetIdentity);
    TELLAR_SET_SILENT_ENTRY(suite, 5, getSceneRevision, GetRevision);
    TELLAR_SET_ERROR_ENTRY(suite, 6, getSceneRoot, [](OxSceneStruct* scene, OxErrorStruct*& error) {
        return GetRoot(*NotNull(scene, "scene")->scene, error);
    });
    TELLAR_SET_ERROR_ENTRY(suite, 7, loadOpTreeDescription, LoadDescription);
    TELLAR_SET_ERROR_ENTRY(
        suite, 8, createRootIteratorFromOpTreeFile,
        [](const char* path, OxErrorStruct*& error) { return GetRoot(*Open(path), error); });
    TELLAR_SET_ERROR_ENTRY(suite, 9, createRootIteratorFromOpTreeDescription,
                           [](const OxAttributeStruct* description, OxErrorStruct*& error) {
                               return GetRoot(*OpenDescription(description), error);
                           });
    TELLAR_SET_SILENT_ENTRY(suite, 55, finalizeRuntime, FinalizeRuntime);
}

} // namespace TELLAR::ScenegraphIteratorHost4

namespace TELLAR {

OxSceneStruct* OxSceneToHandle(std::shared_ptr<Scene> scene) {
    return scene ? new OxSceneStruct(std::move(scene)) : nullptr;
}

std::shared_ptr<Scene> OxHandleToScene(const OxSceneStruct* handle) {
    return handle ? handle->scene : nullptr;
}

} // namespace TELLAR
