#ifndef OXTELLARPRODUCERS_OXSCENEHANDLE_H
#define OXTELLARPRODUCERS_OXSCENEHANDLE_H

#include <memory>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/Scene.h>

namespace TELLAR {

/// A new C handle onto a scene, with one reference owned by the caller, who releases it with the
/// suite's releaseScene. Null for an empty pointer. Threads: any.
TELLAR_API OxSceneStruct* OxSceneToHandle(std::shared_ptr<Scene> scene);

/// The scene behind a handle, whose count stays as it is. Empty for null. Threads: any.
TELLAR_API std::shared_ptr<Scene> OxHandleToScene(const OxSceneStruct* handle);

} // namespace TELLAR

#endif
