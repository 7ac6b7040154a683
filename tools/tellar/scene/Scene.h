#ifndef TELLAR_TOOL_SCENE_H
#define TELLAR_TOOL_SCENE_H

#include <memory>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TellarTool {

enum class SceneKind {
    OpFile,          ///< a serialised op file
    AttributeStream, ///< an op-tree description as an attribute stream
    Json,            ///< an op-tree description as JSON
    SceneFile        ///< anything else: geometry that the op type SceneImport reads
};

/// What the help of a subcommand says about its argument SCENE.
constexpr const char* kSceneHelp = "An op file, an op-tree description (attribute stream or JSON), "
                                   "or any scene file that the op type SceneImport reads";

/// Told by the content first and by the extension second. Throws std::runtime_error naming the
/// file when it is missing, no file, or not what its extension says.
SceneKind TellKind(const std::string& path);

/// A scene named on the command line: found, read and known to be an op tree.
struct Scene {
    std::string path;
    OxAttribute::GroupAttribute description;
    bool isOpFile = false; ///< the file says just what the description does, and is opened itself
};

/// Throws std::runtime_error naming the file and what is wrong with it.
Scene OpenScene(const std::string& path);

/// The scene with render settings of the user's own: `settings` are merged into those of /root.
Scene WithRenderSettings(const Scene& scene, const OxAttribute::GroupAttribute& settings);

/// Throws std::runtime_error naming the option when its value is no absolute location path.
void CheckLocationPath(const std::string& option, const std::string& path);

enum class Variant { Sync, Async, ThreadAware };

/// Ways into a scene through the library. Everything throws std::runtime_error naming the scene
/// when it cannot be opened or has no such location; what cooking throws passes through. Borrows
/// the scene.
class SceneEntry {
public:
    explicit SceneEntry(const Scene& scene) : scene(scene) {}

    TELLAR::GeometryProducer::Ptr threadAware(const std::string& location) const;
    TELLAR::GeometryProducer::Ptr sync(const std::string& location);
    /// Sees only what sync producers of this entry have cooked.
    TELLAR::GeometryProducer::Ptr async(const std::string& location);

private:
    const std::shared_ptr<TellarRuntime::Client>& getClient();
    TELLAR::GeometryProducer::Ptr checked(TELLAR::GeometryProducer::Ptr producer,
                                          const std::string& location) const;

    const Scene& scene;
    std::shared_ptr<TellarRuntime::Client> client; // made when needed
};

} // namespace TellarTool

#endif
