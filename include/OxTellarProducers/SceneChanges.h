#ifndef OXTELLARPRODUCERS_SCENECHANGES_H
#define OXTELLARPRODUCERS_SCENECHANGES_H

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// What differs at a location, as bits of SceneChange::mask.
enum SceneChangeMask : std::uint32_t {
    kTransformChanged = 1,   ///< "xform"
    kGeometryChanged = 2,    ///< points, primitive variables, widths and radii; "bound"
    kTopologyChanged = 4,    ///< faces, curves, and the tags of subdivision surfaces
    kMaterialChanged = 8,    ///< "material", "materialAssign", "textures"
    kVisibilityChanged = 16, ///< "visible"
    kSettingsChanged = 32,   ///< "renderSettings", "liveRender" and other groups of settings
    kTypeChanged = 64,       ///< "type"
    kChildrenChanged = 128,  ///< the order of the children that both scenes have
    kOtherChanged = 256,     ///< the attributes that SceneChange::attributes names
    kAllChanged = 511
};

/// A location that differs between two scenes.
struct SceneChange {
    enum Kind {
        Removed, ///< the location and all below it are gone
        Added,   ///< the location is new with all below it
        Changed  ///< the location is in both scenes and differs itself
    };

    std::string path;
    Kind kind = Changed;
    /// Bits of SceneChangeMask; kAllChanged for locations that are removed or added.
    std::uint32_t mask = 0;
    /// The names of the attributes behind kOtherChanged: "light", "geometry.fov". Parts of the
    /// group "geometry" have dotted names.
    std::vector<std::string> attributes;
    /// Why the location cannot be cooked in the old or the new scene; null where it can be. A
    /// location of both scenes with an error in one of them is Changed with kAllChanged, and stands
    /// for all below it too. So is one with a different error in each.
    std::exception_ptr oldError;
    std::exception_ptr newError;
};

/// Parents come before their children, and each location is there at most once. There is nothing
/// below a location that is removed, added or has an error.
///
/// Only the location where an attribute is stored is listed. A receiver applies a change to the
/// locations below as it does when it reads the scene: "xform" moves them all, `visible` hides them
/// all, and materials and other attributes that are inherited (getGlobalAttribute) change for all
/// descendants that do not have a value of their own. A change of the location at
/// `materialAssign` concerns all locations that name it.
using SceneChanges = std::vector<SceneChange>;

/// The differences between two scenes from "/root" down. A null client has no locations.
///
/// Cooks only where the graphs of Ops let a difference show (OxOpType::ChangedLocations), and the
/// locations on the way there. Values are compared by identity, known hashes or content, and are
/// not hashed. Potential children that do not exist are left out, and so are names that contain
/// "/".
///
/// Errors of single locations are part of the result. Throws std::bad_alloc only.
///
/// Threads: may be called from any number of threads at once, also with the same clients.
[[nodiscard]] TELLAR_API SceneChanges
CompareScenes(const std::shared_ptr<TellarRuntime::Client>& oldClient,
              const std::shared_ptr<TellarRuntime::Client>& newClient);

/// The same for scenes that differ at most at the locations in `touched`, for callers that know it
/// already.
[[nodiscard]] TELLAR_API SceneChanges
CompareScenes(const std::shared_ptr<TellarRuntime::Client>& oldClient,
              const std::shared_ptr<TellarRuntime::Client>& newClient,
              const OxLocationPath::LocationSet& touched);

} // namespace TELLAR

#endif
