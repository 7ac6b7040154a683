#ifndef TELLAR_TOOL_SCENE_H
#define TELLAR_TOOL_SCENE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpCheck.h>

namespace TellarTool {

class StandardInput;

using TELLAR::SceneKind;

/// A scene named on the command line, found, read and known to be an op tree. Its file is read
/// once. A value: copies share the description and what was cooked. For one thread; the producers
/// are for any number of them.
///
/// Members that return producers throw std::runtime_error naming the scene when it has no such
/// location. Exceptions of op types pass through.
class Scene {
public:
    /// Reads a file, or standard input for "-". Throws std::runtime_error naming the file and what
    /// is wrong with it.
    explicit Scene(const std::string& path);
    /// A scene that the program has open. Messages call it `name`.
    Scene(std::shared_ptr<TELLAR::Scene> scene, const std::string& name);

    const std::string& getPath() const { return path; }
    SceneKind getKind() const { return kind; }
    const OxAttribute::GroupAttribute& getDescription() const { return description; }
    /// The places of the ops in the scene's file. Ops that were added have none.
    const TELLAR::OpPlaces& getOpPlaces() const { return places; }

    /// The number of comments in a JSON file; getDescription() does not hold them.
    std::size_t getNumberOfComments() const { return comments; }

    /// Returns the warnings of OxOpType::CheckOps about the ops.
    std::vector<OxOpType::Warning> check(std::uint64_t mostLocations) const;

    /// This scene with `settings` merged into the render settings of /root.
    Scene withRenderSettings(const OxAttribute::GroupAttribute& settings) const;

    /// This scene with a location merged into it. `content` has the form that the op type
    /// StaticScene takes.
    Scene withLocation(const std::string& location,
                       const OxAttribute::GroupAttribute& content) const;

    /// This scene with other ops.
    Scene withDescription(const OxAttribute::GroupAttribute& description) const;

    /// The client that all threads share.
    std::shared_ptr<TellarRuntime::Client> getClient() const;
    /// Cooks through one client that all threads share.
    TELLAR::GeometryProducer::Ptr at(const std::string& location) const;
    /// Cooks through a client for each thread.
    TELLAR::GeometryProducer::Ptr threadAwareAt(const std::string& location) const;
    /// Sees only what producers of at() have cooked.
    TELLAR::GeometryProducer::Ptr cookedAt(const std::string& location) const;

private:
    /// The library's scene, opened on first use.
    struct Opened {
        std::shared_ptr<TELLAR::Scene> scene;
        /// The scene to which this one adds ops; null for one that was read. It keeps what was
        /// cooked of those ops.
        std::shared_ptr<Opened> origin;
    };

    TELLAR::Scene& open() const;
    TELLAR::GeometryProducer::Ptr checked(TELLAR::GeometryProducer::Ptr producer,
                                          const std::string& location) const;

    void readStandardInput();
    void take(const TELLAR::SceneDescription& read);

    std::string path;
    std::shared_ptr<const StandardInput> input; // null for other files
    SceneKind kind = SceneKind::SceneFile;
    OxAttribute::GroupAttribute description;
    TELLAR::OpPlaces places;
    std::size_t comments = 0;
    std::shared_ptr<Opened> opened = std::make_shared<Opened>();
};

} // namespace TellarTool

#endif
