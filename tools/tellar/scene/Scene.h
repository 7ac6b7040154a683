#ifndef TELLAR_TOOL_SCENE_H
#define TELLAR_TOOL_SCENE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/OpCheck.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TellarTool {

class StandardInput;

enum class SceneKind {
    OpFile,          ///< a serialised op file
    AttributeStream, ///< an op-tree description as an attribute stream
    Json,            ///< an op-tree description as JSON
    SceneFile        ///< anything else: geometry that the op type SceneImport reads
};

/// A scene named on the command line, found, read and known to be an op tree. A value: copies
/// share the description.
///
/// The file is opened once, to find out its kind and to read its description. The library opens an
/// op file again for every client, because it identifies op files by their paths.
///
/// Members that return producers throw std::runtime_error naming the scene when it cannot be
/// cooked or has no such location. Exceptions of op types pass through.
class Scene {
public:
    /// Reads a file, or standard input for "-". The file's kind is told by its content first and by
    /// its extension second. Throws std::runtime_error naming the file and what is wrong with it.
    explicit Scene(const std::string& path);

    const std::string& getPath() const { return path; }
    SceneKind getKind() const { return kind; }
    const OxAttribute::GroupAttribute& getDescription() const { return description; }

    /// The number of comments in a JSON file; getDescription() does not hold them.
    std::size_t getNumberOfComments() const { return comments; }

    /// Returns the warnings of OxOpType::CheckOps about the ops; none when no client can be made
    /// for the scene.
    std::vector<OxOpType::Warning> check(std::uint64_t mostLocations) const;

    /// This scene with `settings` merged into the render settings of /root.
    Scene withRenderSettings(const OxAttribute::GroupAttribute& settings) const;

    /// This scene with a location merged into it. `content` has the form that the op type
    /// StaticScene takes.
    Scene withLocation(const std::string& location,
                       const OxAttribute::GroupAttribute& content) const;

    TELLAR::GeometryProducer::Ptr threadAware(const std::string& location) const;
    /// Cooks through a client of its own.
    TELLAR::GeometryProducer::Ptr sync(const std::string& location) const;
    /// Sees only what the client of a sync producer has cooked.
    TELLAR::GeometryProducer::Ptr async(TELLAR::GeometryProducer& sync,
                                        const std::string& location) const;

private:
    /// Null when there is no such location.
    TELLAR::GeometryProducer::Ptr open(const std::string& location) const;
    Scene withDescription(const OxAttribute::GroupAttribute& description) const;
    TELLAR::GeometryProducer::Ptr checked(TELLAR::GeometryProducer::Ptr producer,
                                          const std::string& location) const;

    void readStandardInput();
    void remember(const OxAttribute::DescriptionText& told);
    std::shared_ptr<TellarRuntime::Client> makeClient() const;

    std::string path;
    std::shared_ptr<const StandardInput> input; // null for other files
    SceneKind kind = SceneKind::SceneFile;
    OxAttribute::GroupAttribute description;
    std::size_t comments = 0;
    bool isOpenedByPath = false; // the library opens the op file itself
};

/// An op tree of one op, which imports the file. A relative path counts from `directory` or, if
/// that is empty, from the working directory.
OxAttribute::GroupAttribute DescribeImport(const std::string& file,
                                           const std::string& directory = {});

} // namespace TellarTool

#endif
