#include "reading/Surfaces.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <utility>

#include "reading/FlattenMaterial.h"
#include "reading/ShadingParameters.h"

namespace lantern {

namespace {

/// The files of one of a location's named textures.
struct NamedTexture {
    std::vector<std::string> files;
    std::vector<std::int32_t> ofFace; ///< index of each face's file; empty if all use the first
};
using NamedTextures = std::map<std::string, NamedTexture>;

NamedTextures ReadNamedTextures(const Suites& suites, const Attribute& textures) {
    NamedTextures named;
    if (!textures.isGroup()) return named;
    const Attribute converted =
        Attribute::owning(suites.attributes(),
                          suites.utils().convertTexturesToArbitraryAttr(textures.get(), nullptr));
    for (std::int64_t i = 0; i < converted.childCount(); ++i) {
        const Attribute entry = converted.childAt(i);
        const bool isByFace = entry.child("scope").isTextEqual("face");
        const Attribute maps = entry.child(isByFace ? "indexedValue" : "value");
        NamedTexture texture;
        for (std::int64_t map = 0; map < maps.count(); ++map)
            if (const char* const file = maps.textAt(map)) texture.files.emplace_back(file);
        if (isByFace) texture.ofFace = entry.child("index").ints();
        if (!texture.files.empty()) named.emplace(converted.childName(i), std::move(texture));
    }
    return named;
}

/// Makes the materials of one network: one for each combination of files that faces choose.
class MaterialMaker {
public:
    /// `path` is that of the material, or empty.
    MaterialMaker(const Suites& suites, const Attribute& material, std::string path,
                  const NamedTextures& textures, std::function<void(const std::string&)> warn)
        : network(suites, material), name(nameOf(material)), path(std::move(path)),
          textures(textures), warn(std::move(warn)) {
        // A material without a surface, such as a displacement alone, is ignored.
        hasSurface = !name.empty();
        if (hasSurface) base = readWith(std::nullopt);
    }

    /// Returns nothing for a material without a surface.
    std::optional<MaterialDraft> ofAll() const {
        return hasSurface ? std::optional<MaterialDraft>(base) : std::nullopt;
    }
    bool dependsOnFaces() const { return !namesByFace.empty(); }
    /// The index of the face's file for each texture that differs by face. Faces of equal choice
    /// have equal materials. Empty if a texture has no file for the face.
    std::vector<std::int32_t> choiceOf(std::size_t face) const;
    MaterialDraft ofFace(std::size_t face) { return readWith(face); }

private:
    static std::string nameOf(const Attribute& material) {
        const Attribute node = material.child("terminals.surface");
        return node.isText() ? NameOfNode(node.text()) : material.child("surfaceShader").text();
    }

    MaterialDraft readWith(std::optional<std::size_t> face) {
        const auto fileOf = [&](const std::string& texture) { return fileFor(texture, face); };
        const auto tell = face ? [](const std::string&) {} : warn;
        MaterialDraft draft = ReadMaterial(network, name, fileOf, tell);
        if (!path.empty()) draft.values.name = path;
        return draft;
    }

    std::optional<std::string> fileFor(const std::string& texture,
                                       std::optional<std::size_t> face) {
        const auto found = textures.find(texture);
        if (found == textures.end()) return {};
        const NamedTexture& named = found->second;
        if (named.ofFace.empty()) return named.files[0];
        namesByFace.insert(texture);
        const std::size_t file =
            face ? static_cast<std::size_t>(named.ofFace[*face]) : std::size_t(0);
        return named.files[file];
    }

    ShadingNetwork network;
    std::string name;
    std::string path;
    const NamedTextures& textures;
    std::function<void(const std::string&)> warn;
    bool hasSurface = false;
    MaterialDraft base;
    std::set<std::string> namesByFace; // textures of the material that differ by face
};

std::vector<std::int32_t> MaterialMaker::choiceOf(std::size_t face) const {
    std::vector<std::int32_t> choice;
    for (const std::string& texture : namesByFace) {
        const NamedTexture& named = textures.at(texture);
        const std::int32_t file = face < named.ofFace.size() ? named.ofFace[face] : -1;
        if (file < 0 || static_cast<std::size_t>(file) >= named.files.size()) return {};
        choice.push_back(file);
    }
    return choice;
}

/// Finds the materials of all faces of a location.
class SurfaceReader {
public:
    using AddMaterial = std::function<Index(const MaterialDraft&)>;

    SurfaceReader(const Suites& suites, Warnings& warnings, const SurfaceQuestion& question,
                  AddMaterial addMaterial)
        : suites(suites), warnings(warnings), question(question),
          textures(ReadNamedTextures(suites, question.textures)),
          addMaterial(std::move(addMaterial)) {}

    Surface read() {
        MaterialMaker maker = makerOf(question.place, question.materials);
        if (const auto base = maker.ofAll()) surface.material = addMaterial(*base);
        if (maker.dependsOnFaces()) {
            MaterialByChoice materials;
            for (std::size_t face = 0; face < question.faceCount; ++face)
                setFace(face, maker, surface.material, materials);
        }
        for (const FaceSet& faceSet : question.faceSets)
            if (HashOf(faceSet.materials) != HashOf(question.materials)) readFaceSet(faceSet);
        return std::move(surface);
    }

private:
    using MaterialByChoice = std::map<std::vector<std::int32_t>, Index>;

    MaterialMaker makerOf(const Place& place, const MaterialChain::Ptr& materials) const {
        const auto warn = [this, place](const std::string& what) {
            warnings.warn(place.path(), what);
        };
        const std::string path = materials ? materials->path() : std::string();
        return {suites, FlattenMaterial(suites, materials), path, textures, warn};
    }

    void readFaceSet(const FaceSet& faceSet) {
        MaterialMaker maker = makerOf(faceSet.place, faceSet.materials);
        const std::optional<MaterialDraft> draft = maker.ofAll();
        if (!draft) return;
        const Index base = addMaterial(*draft);
        MaterialByChoice materials;
        for (const std::int32_t face : faceSet.faces.ints()) {
            if (face >= 0 && static_cast<std::size_t>(face) < question.faceCount)
                setFace(static_cast<std::size_t>(face), maker, base, materials);
            else
                warnings.warn(faceSet.place.path(),
                              "\"geometry.faces\" has faces that the mesh does not have");
        }
    }

    /// Gives a face the material of its choice of files, or else `base`.
    void setFace(std::size_t face, MaterialMaker& maker, Index base, MaterialByChoice& materials) {
        Index material = base;
        const std::vector<std::int32_t> choice = maker.choiceOf(face);
        if (!choice.empty()) {
            const auto [entry, isNew] = materials.try_emplace(choice, base);
            if (isNew) entry->second = addMaterial(maker.ofFace(face));
            material = entry->second;
        }
        if (surface.faceMaterials.empty()) surface.faceMaterials.assign(question.faceCount, kNone);
        surface.faceMaterials[face] = material;
    }

    const Suites& suites;
    Warnings& warnings;
    const SurfaceQuestion& question;
    const NamedTextures textures;
    const AddMaterial addMaterial;
    Surface surface;
};

} // namespace

Hash SurfaceQuestion::hash() const {
    Hash hash = HashOf(materials).with(textures.hash());
    const bool countMatters = textures || !faceSets.empty();
    if (countMatters) hash = hash.with(Hash{{faceCount, 1}});
    for (const FaceSet& set : faceSets)
        hash = hash.with(HashOf(set.materials)).with(set.faces.hash());
    return hash;
}

Surfaces::Surfaces(const Suites& suites, Warnings& warnings) : suites(suites), warnings(warnings) {
    add(DefaultMaterial());
}

Index Surfaces::find(const SurfaceQuestion& question) {
    const Hash key = question.hash();
    Shard& shard = shards[key.words[1] % shards.size()];
    const std::lock_guard<std::mutex> guard(shard.lock);
    const auto found = shard.numbers.find(key);
    if (found != shard.numbers.end()) return found->second;
    const Index number = add(read(question));
    shard.numbers.emplace(key, number);
    return number;
}

Surface Surfaces::read(const SurfaceQuestion& question) {
    const auto addMaterial = [this](const MaterialDraft& draft) { return add(draft); };
    return SurfaceReader(suites, warnings, question, addMaterial).read();
}

Index Surfaces::add(const MaterialDraft& draft) {
    const std::lock_guard<std::mutex> guard(lock);
    const auto [entry, isNew] =
        materialsByKey.try_emplace(draft.key(), static_cast<Index>(all.materials.size()));
    if (isNew) all.materials.push_back(draft);
    return entry->second;
}

Index Surfaces::add(Surface surface) {
    const std::lock_guard<std::mutex> guard(lock);
    const auto [entry, isNew] = surfacesByContent.try_emplace(
        {surface.material, surface.faceMaterials}, static_cast<Index>(all.surfaces.size()));
    if (isNew) all.surfaces.push_back(std::move(surface));
    return entry->second;
}

} // namespace lantern
