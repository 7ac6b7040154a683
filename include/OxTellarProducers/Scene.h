#ifndef OXTELLARPRODUCERS_SCENE_H
#define OXTELLARPRODUCERS_SCENE_H

#include <cstdint>
#include <memory>
#include <string>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarProducers/SceneSubscription.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

class SceneRevisions;

/// A scene that was opened once and is shared by all threads: nothing reads its file again, so the
/// file may be replaced or deleted. Files that ops of a description import are read when they are
/// first cooked.
///
/// The scene consists of revisions, which are immutable. Producers and clients keep the revision
/// alive that they came from, and go on in it when there is a newer one. A revision is freed when
/// the scene has a newer one, or is gone, and the last producer and client of the revision are
/// gone.
///
/// Scenes with equal ops share what they have cooked.
///
/// Threads: any thread may call any function.
class TELLAR_API Scene {
public:
    /// Opens an op file, an op-tree description as an attribute stream or JSON, or a file that the
    /// op type SceneImport reads, whatever ReadSceneDescription takes. Throws TellarError naming
    /// the file; nothing is remembered about a failure.
    static std::shared_ptr<Scene> Open(const std::string& path);

    /// The same for an op-tree description (see OpTreeAttributeSource).
    static std::shared_ptr<Scene> FromDescription(const OxAttribute::GroupAttribute& description);
    /// The same for ops whose places in a text are known. Errors about an op begin with its place,
    /// also when an edit has changed the op.
    static std::shared_ptr<Scene> FromDescription(const OxAttribute::GroupAttribute& description,
                                                  const OpPlaces& places);

    /// "/root" of the newest revision; null when it does not exist. Throws what cooking it throws.
    GeometryProducer::Ptr getRoot() const;

    /// The client of the newest revision, for any number of threads.
    std::shared_ptr<TellarRuntime::Client> getClient() const;

    /// The identity of the newest revision's ops: equal for scenes with equal op trees, whatever
    /// the names of their files and ops. A file that an op imports counts by its name; a model that
    /// Open was given counts by its name and its state in the file system.
    OxAttribute::Hash getIdentity() const;

    /// The number of the newest revision: 0, and one more with every commit.
    std::uint64_t getRevision() const;

    /// The op-tree description of the newest revision. Its last op is the terminal one.
    OxAttribute::GroupAttribute getDescription() const;

    /// A list of changes to be filled and committed, which makes a new revision.
    [[nodiscard]] SceneEdit edit();

    /// A receiver of the changes after the newest revision.
    [[nodiscard]] std::shared_ptr<SceneSubscription> subscribe();

    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

private:
    explicit Scene(std::shared_ptr<SceneRevisions> revisions);

    const std::shared_ptr<SceneRevisions> revisions;
};

} // namespace TELLAR

#endif
