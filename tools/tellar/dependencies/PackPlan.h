#ifndef TELLAR_TOOL_PACKPLAN_H
#define TELLAR_TOOL_PACKPLAN_H

#include <map>
#include <string>

#include "SceneFiles.h"

namespace TellarTool {

/// Where the files of a scene are in a pack, a folder that holds all of them.
///
///     garden.json           the scene, with paths that count from its folder
///     models/tree/tree.obj  a model, and its files in their places beside it
///     textures/wood.png     a texture that an op names
class PackPlan {
public:
    /// Throws std::runtime_error naming two files that would need the same place.
    PackPlan(const Scene& scene, const SceneFiles& files);

    /// The name of the scene's file in the pack.
    const std::string& getSceneName() const { return sceneName; }
    /// The scene as a JSON description. Throws std::runtime_error when it has no such form.
    std::string sceneText() const;
    /// Files by their places, which are paths from the pack's folder.
    const std::map<std::string, std::string>& getSources() const { return sources; }
    /// The place of an imported file.
    const std::string& placeOf(const std::string& import) const { return imports.at(import); }

    /// Puts one more texture where importers look for those that are not where a file says: into
    /// the folder "textures" beside the import.
    void addBeside(const std::string& import, const std::string& texture);

private:
    void addImport(const ImportedFile& import);
    void addTexture(const TextureFile& texture);
    void add(const std::string& place, const std::string& source);
    OxAttribute::GroupAttribute packedOp(const OxAttribute::GroupAttribute& op) const;
    std::string packedText(const std::string& text, const std::string& folder) const;
    OxAttribute::Attribute packedTexts(const OxAttribute::StringAttribute& texts,
                                       const std::string& folder) const;
    OxAttribute::Attribute packed(const OxAttribute::Attribute& attribute,
                                  const std::string& folder) const;

    const OxAttribute::GroupAttribute description;
    std::string sceneFolder;
    std::string sceneName;
    std::map<std::string, std::string> sources;
    std::map<std::string, std::string> imports;  // places by paths, as for the next two
    std::map<std::string, std::string> textures; // of the ops
    std::map<std::string, std::string> places;   // of all files and sets of tiles
};

} // namespace TellarTool

#endif
