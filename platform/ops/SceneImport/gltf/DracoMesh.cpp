#include "DracoMesh.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include <draco/compression/decode.h>

#include "DracoHeader.h"
#include "GltfError.h"
#include "TinyGltf.h"

namespace TellarSceneImport {

struct DracoMesh::Decoded {
    std::unique_ptr<draco::Mesh> mesh;
};

namespace {

// Far more than even the most regular mesh has. A header that promises more would cost memory.
constexpr std::uint64_t kMostFacesPerByte = 1024;

std::unique_ptr<draco::Mesh> Decode(std::string_view data) {
    if (DracoFaceCount(data).value_or(0) > data.size() * kMostFacesPerByte)
        GltfError("a compressed mesh says that it has more faces than its data can hold");
    draco::DecoderBuffer buffer;
    buffer.Init(data.data(), data.size());
    draco::Decoder decoder;
    auto result = decoder.DecodeMeshFromBuffer(&buffer);
    if (!result.ok())
        GltfError(std::string("a mesh cannot be decompressed: ") + result.status().error_msg());
    return std::move(result).value();
}

template <typename Number>
std::string Values(const draco::Mesh& mesh, const draco::PointAttribute& attribute,
                   int components) {
    const std::size_t elementSize = sizeof(Number) * components;
    std::string bytes(elementSize * mesh.num_points(), '\0');
    std::vector<Number> element(components);
    for (draco::PointIndex point(0); point < mesh.num_points(); ++point) {
        const draco::AttributeValueIndex index = attribute.mapped_index(point);
        if (index.value() >= attribute.size() ||
            !attribute.ConvertValue<Number>(index, static_cast<std::int8_t>(components),
                                            element.data()))
            GltfError("an attribute of a compressed mesh has unusable values");
        std::memcpy(&bytes[elementSize * point.value()], element.data(), elementSize);
    }
    return bytes;
}

} // namespace

DracoMesh::DracoMesh(std::string_view data)
    : decoded(std::make_unique<Decoded>(Decoded{Decode(data)})) {}

DracoMesh::~DracoMesh() = default;

std::size_t DracoMesh::numberOfPoints() const {
    return decoded->mesh->num_points();
}

std::size_t DracoMesh::numberOfTriangles() const {
    return decoded->mesh->num_faces();
}

std::string DracoMesh::indices() const {
    const draco::Mesh& mesh = *decoded->mesh;
    std::vector<std::uint32_t> all;
    all.reserve(std::size_t(mesh.num_faces()) * 3);
    for (draco::FaceIndex face(0); face < mesh.num_faces(); ++face)
        for (const draco::PointIndex& point : mesh.face(face))
            all.push_back(point.value());
    std::string bytes(all.size() * sizeof(std::uint32_t), '\0');
    if (!all.empty()) std::memcpy(bytes.data(), all.data(), bytes.size());
    return bytes;
}

std::string DracoMesh::attribute(unsigned uniqueId, int componentType, int components) const {
    const draco::PointAttribute* found = decoded->mesh->GetAttributeByUniqueId(uniqueId);
    if (!found) GltfError("a compressed mesh lacks an attribute");
    switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
        return Values<std::int8_t>(*decoded->mesh, *found, components);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return Values<std::uint8_t>(*decoded->mesh, *found, components);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
        return Values<std::int16_t>(*decoded->mesh, *found, components);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return Values<std::uint16_t>(*decoded->mesh, *found, components);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return Values<std::uint32_t>(*decoded->mesh, *found, components);
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
        return Values<float>(*decoded->mesh, *found, components);
    default:
        GltfError("an attribute of a compressed mesh has an unknown type of numbers");
    }
}

} // namespace TellarSceneImport
