#ifndef SCENEIMPORT_DRACOMESH_H
#define SCENEIMPORT_DRACOMESH_H

#include <memory>
#include <string>
#include <string_view>

namespace TellarSceneImport {

/// A mesh that was compressed by Draco, as bytes of buffer views.
class DracoMesh {
public:
    /// Decodes the mesh. Throws std::runtime_error for damaged data.
    explicit DracoMesh(std::string_view data);
    ~DracoMesh();
    DracoMesh(const DracoMesh&) = delete;
    DracoMesh& operator=(const DracoMesh&) = delete;

    std::size_t numberOfPoints() const;
    std::size_t numberOfTriangles() const;
    /// Three unsigned 32-bit integers for each triangle.
    std::string indices() const;
    /// `components` numbers for each point, of the type that glTF calls `componentType`. Throws
    /// std::runtime_error when there is no attribute with this identifier.
    std::string attribute(unsigned uniqueId, int componentType, int components) const;

private:
    struct Decoded;
    std::unique_ptr<const Decoded> decoded;
};

} // namespace TellarSceneImport

#endif
