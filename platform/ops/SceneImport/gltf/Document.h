#ifndef SCENEIMPORT_DOCUMENT_H
#define SCENEIMPORT_DOCUMENT_H

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "FileStamp.h"
#include "MemoryBudget.h"

namespace tinygltf {
class Model;
}

namespace TellarSceneImport {

/// A glTF 2 file, parsed and checked, with its buffers.
///
/// Sound in model(): all lists hold objects; the indices of nodes, meshes, primitives, accessors,
/// buffer views, textures, images, skins, animations and scenes refer to existing items; every node
/// has one parent at most; nodes are nested at most kMaxNodeDepth deep; numbers of nodes are
/// finite; times of animations are floats. Indices of textures in materials and everything in
/// extensions are as the file has them. Model::buffers is empty: bytes come from viewBytes().
class Document {
public:
    /// `source` is the whole file at `path`. `files` receives the stamps of the buffers' files.
    /// Throws std::runtime_error for another version than 2, a damaged file and a missing buffer.
    Document(std::string source, const std::string& path, std::vector<FileStamp>& files);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    const tinygltf::Model& model() const { return *parsed; }

    /// The bytes of a buffer view. They live as long as the document. Throws std::runtime_error
    /// when the view goes beyond its buffer.
    std::string_view viewBytes(int index) const;

    /// The encoded bytes (PNG, JPEG, ...) of an image inside the file or in a data URI, which live
    /// as long as the document; empty for an image in a file of its own. Throws as viewBytes().
    std::string_view imageBytes(int image) const;

    /// Counts the memory that the values of the file use against the limit.
    MemoryBudget& memory() const { return *budget; }

    /// The absolute path of the file that a URI names. Accepts names that lack their
    /// percent-encoding, and files that FindReferencedFile() finds elsewhere.
    std::string pathOf(const std::string& uri) const;

    /// The names of the extensions that the file uses and the reader does not understand. The file
    /// requires none of them.
    const std::vector<std::string>& unknownExtensions() const { return unknown; }

private:
    class Loader;

    const std::string content;
    const std::string folder;
    const std::unique_ptr<tinygltf::Model> parsed;
    const std::unique_ptr<MemoryBudget> budget;
    std::deque<std::string> owned;         // bytes of buffers that are not part of `content`
    std::vector<std::string_view> buffers; // buffers of the file, then decoded ones
    std::vector<std::string> unknown;
};

} // namespace TellarSceneImport

#endif
