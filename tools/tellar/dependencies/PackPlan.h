#ifndef TELLAR_TOOL_PACKPLAN_H
#define TELLAR_TOOL_PACKPLAN_H

#include <map>
#include <string>

#include "SceneFiles.h"

namespace TellarTool {

/// The layout of a pack, a folder that holds all files of a scene.
///
///     garden.json           the scene, with paths relative to its folder
///     models/tree/tree.obj  a model, with its other files placed relative to it as before
///     textures/wood.png     a texture that an op refers to
class PackPlan {
public:
    /// Throws std::runtime_error naming two files that would need the same place.
    PackPlan(const Scene& scene, const SceneFiles& files);

    /// The name of the scene's file in the pack.
    const std::string& getSceneName() const { return sceneName; }
    /// The scene as a JSON description. Throws std::runtime_error if JSON cannot express it.
    std::string sceneText() const;
    /// The source file of each place; places are paths relative to the pack's folder.
    const std::map<std::string, std::string>& getSources() const { return sources; }
    /// The place of an imported file.
    const std::string& placeOf(const std::string& import) const { return imports.at(import); }

    /// Adds a texture to the folder "textures" beside the import. Importers look there for textures
    /// that they do not find otherwise.
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
    std::map<std::string, std::string> imports;  // place of each imported file
    std::map<std::string, std::string> textures; // place of each texture of the ops
    std::map<std::string, std::string> places;   // place of each file or set of tiles
};

} // namespace TellarTool

#endif
