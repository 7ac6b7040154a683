#ifndef OXTELLARPRODUCERS_SCENEREVISIONS_H
#define OXTELLARPRODUCERS_SCENEREVISIONS_H

#include <cstdint>
#include <memory>
#include <mutex>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// One state of a scene. Immutable.
struct SceneRevision {
    std::uint64_t number = 0;
    std::shared_ptr<TellarRuntime::Client> client;
};

/// The revisions of one scene, of which it keeps the newest.
///
/// Threads: any thread may call any function.
class SceneRevisions {
public:
    explicit SceneRevisions(std::shared_ptr<const SceneRevision> first);

    std::shared_ptr<const SceneRevision> getNewest() const;

private:
    mutable std::mutex lock;
    std::shared_ptr<const SceneRevision> newest;
};

/// The first revision of a scene. Throws TellarError when no runtime can be made.
std::shared_ptr<const SceneRevision>
MakeFirstRevision(const OxAttribute::GroupAttribute& description);

} // namespace TELLAR

#endif
