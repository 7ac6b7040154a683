#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <meshoptimizer.h>

#include "DamagedFiles.h"
#include "GltfBuilder.h"
#include "ImportedScene.h"
#include "SceneFixtures.h"
#include "TestScenes.h"

namespace {

using testing::HasSubstr;

const std::string kMesh = "/root/world/thing/mesh";
const std::vector<float> kSquare = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
const std::vector<std::uint32_t> kFaces = {0, 1, 2, 0, 2, 3};

std::string Shrunk(std::vector<unsigned char> bytes, std::size_t size) {
    return std::string(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

std::string EncodeVertices(const void* vertices, std::size_t count, std::size_t size) {
    std::vector<unsigned char> bytes(meshopt_encodeVertexBufferBound(count, size));
    return Shrunk(bytes,
                  meshopt_encodeVertexBuffer(bytes.data(), bytes.size(), vertices, count, size));
}

std::string EncodeTriangles(const std::vector<std::uint32_t>& indices) {
    std::vector<unsigned char> bytes(meshopt_encodeIndexBufferBound(indices.size(), 100));
    return Shrunk(bytes, meshopt_encodeIndexBuffer(bytes.data(), bytes.size(), indices.data(),
                                                   indices.size()));
}

std::string EncodeSequence(const std::vector<std::uint32_t>& indices) {
    std::vector<unsigned char> bytes(meshopt_encodeIndexSequenceBound(indices.size(), 100));
    return Shrunk(bytes, meshopt_encodeIndexSequence(bytes.data(), bytes.size(), indices.data(),
                                                     indices.size()));
}

/// Adds a view of a buffer without data, which the extension fills from `encoded`.
int AddCompressed(GltfBuilder& file, const std::string& encoded, std::size_t count,
                  std::size_t stride, const std::string& mode, const std::string& filter = "NONE") {
    return file.compressedView(encoded, R"("count": )" + std::to_string(count) +
                                            R"(, "byteStride": )" + std::to_string(stride) +
                                            R"(, "mode": ")" + mode + R"(", "filter": ")" + filter +
                                            "\"");
}

std::string EncodedSquare() {
    return EncodeVertices(kSquare.data(), 4, 12);
}

TEST(GltfMeshopt, DecodesPointsAndIndices) {
    GltfBuilder file;
    file.accessorOf(AddCompressed(file, EncodedSquare(), 4, 12, "ATTRIBUTES"), 4, GltfNumber::Float,
                    "VEC3");
    file.accessorOf(AddCompressed(file, EncodeTriangles(kFaces), 6, 2, "TRIANGLES"), 6,
                    GltfNumber::UShort, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1)");
    file.rest += R"(, "extensionsRequired": ["EXT_meshopt_compression"])";
    const BuiltScene scene(file);
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"), kSquare);
    EXPECT_EQ(scene->ints(kMesh, "geometry.poly.vertexList"), (Ints{0, 1, 2, 0, 2, 3}));
}

TEST(GltfMeshopt, DecodesSequencesOfIndices) {
    GltfBuilder file;
    file.floats(kSquare, "VEC3");
    file.accessorOf(AddCompressed(file, EncodeSequence({3, 1, 0}), 3, 4, "INDICES"), 3,
                    GltfNumber::UInt, "SCALAR");
    file.showPrimitive(R"("attributes": {"POSITION": 0}, "indices": 1, "mode": 3)");
    EXPECT_EQ(BuiltScene(file)->floats(kMesh, "geometry.point.P"),
              (Floats{0, 1, 0, 1, 0, 0, 0, 0, 0}));
}

TEST(GltfMeshopt, AppliesFilters) {
    const std::vector<float> normals = {0, 0, 1, 0, 1, 0, 0, 0, -1, 0, 0, 0};
    std::vector<std::int8_t> packed(12);
    meshopt_encodeFilterOct(packed.data(), 3, 4, 8, normals.data());
    const std::vector<float> points = {0, 0, 0, 4, 0, 0, 0, -0.5f, 0};
    std::vector<std::uint32_t> exponents(9);
    meshopt_encodeFilterExp(exponents.data(), 3, 12, 15, points.data());

    GltfBuilder file;
    file.accessorOf(AddCompressed(file, EncodeVertices(exponents.data(), 3, 12), 3, 12,
                                  "ATTRIBUTES", "EXPONENTIAL"),
                    3, GltfNumber::Float, "VEC3");
    file.accessorOf(
        AddCompressed(file, EncodeVertices(packed.data(), 3, 4), 3, 4, "ATTRIBUTES", "OCTAHEDRAL"),
        3, GltfNumber::Byte, "VEC3", R"(, "normalized": true)");
    file.showPrimitive(R"("attributes": {"POSITION": 0, "NORMAL": 1})");
    const BuiltScene scene(file);
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.P"), points);
    EXPECT_EQ(scene->floats(kMesh, "geometry.point.N"), (Floats{0, 0, 1, 1, 0, 0, -1, 0, 0}));
}

std::string ErrorOfCompressed(const std::string& data, std::size_t count, std::size_t stride,
                              const std::string& mode, const std::string& filter = "NONE") {
    GltfBuilder file;
    file.accessorOf(AddCompressed(file, data, count, stride, mode, filter), 3, GltfNumber::Float,
                    "VEC3");
    file.showPrimitive(R"("attributes": {"POSITION": 0})");
    return BuiltScene(file)->error();
}

TEST(GltfMeshopt, RefusesDamagedViews) {
    const std::string start = "damaged glTF: a compressed buffer view ";
    EXPECT_THAT(ErrorOfCompressed("not compressed", 3, 12, "ATTRIBUTES"),
                HasSubstr(start + "cannot be decoded"));
    EXPECT_THAT(ErrorOfCompressed(EncodedSquare(), 1u << 30, 12, "ATTRIBUTES"),
                HasSubstr(start + "says that it has more elements than its data can hold"));
    EXPECT_THAT(ErrorOfCompressed(EncodedSquare(), 4, 13, "ATTRIBUTES"),
                HasSubstr(start + "has a wrong \"mode\" or \"byteStride\""));
    EXPECT_THAT(ErrorOfCompressed(EncodeTriangles(kFaces), 5, 2, "TRIANGLES"),
                HasSubstr(start + "has a wrong \"mode\" or \"byteStride\""));
    EXPECT_THAT(ErrorOfCompressed(EncodedSquare(), 4, 12, "ATTRIBUTES", "OCTAHEDRAL"),
                HasSubstr(start + "has a wrong \"filter\""));
}

/// The square, whose attributes get the identifiers 0 and 1.
std::string DracoSquare() {
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(2);
    const int points =
        builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
    const int coordinates =
        builder.AddAttribute(draco::GeometryAttribute::TEX_COORD, 2, draco::DT_FLOAT32);
    for (std::uint32_t face = 0; face < 2; ++face) {
        const float* corners[3];
        for (int i = 0; i < 3; ++i)
            corners[i] = &kSquare[kFaces[face * 3 + i] * 3];
        builder.SetAttributeValuesForFace(points, draco::FaceIndex(face), corners[0], corners[1],
                                          corners[2]);
        builder.SetAttributeValuesForFace(coordinates, draco::FaceIndex(face), corners[0],
                                          corners[1], corners[2]);
    }
    const auto mesh = builder.Finalize();
    draco::Encoder encoder;
    draco::EncoderBuffer buffer;
    encoder.EncodeMeshToBuffer(*mesh, &buffer);
    return std::string(buffer.data(), buffer.size());
}

GltfBuilder DracoFile(const std::string& data, const std::string& view) {
    GltfBuilder file;
    file.accessorOf(-1, 4, GltfNumber::Float, "VEC3");
    file.accessorOf(-1, 4, GltfNumber::Float, "VEC2");
    file.accessorOf(-1, 6, GltfNumber::UShort, "SCALAR");
    file.view(data);
    file.showPrimitive(R"("attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "indices": 2,
        "extensions": {"KHR_draco_mesh_compression": {"bufferView": )" +
                       view + R"(, "attributes": {"POSITION": 0, "TEXCOORD_0": 1}}})");
    file.rest += R"(, "extensionsRequired": ["KHR_draco_mesh_compression"])";
    return file;
}

TEST(GltfDraco, DecodesPointsAndAttributes) {
    const BuiltScene scene(DracoFile(DracoSquare(), "0"));
    const Floats points = scene->floats(kMesh, "geometry.point.P");
    const Floats coordinates = scene->floats(kMesh, "geometry.arbitrary.st.value");
    ASSERT_EQ(points.size(), 12u);
    ASSERT_EQ(coordinates.size(), 8u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(coordinates[i * 2], points[i * 3]);
        EXPECT_FLOAT_EQ(coordinates[i * 2 + 1], 1 - points[i * 3 + 1]);
    }
    EXPECT_EQ(scene->doubles(kMesh, "bound"), (Doubles{0, 1, 0, 1, 0, 0}));
    EXPECT_EQ(scene->ints(kMesh, "geometry.poly.vertexList").size(), 6u);
}

TEST(GltfDraco, RefusesMeshesThatSayTheyHaveFarMoreFacesThanBytes) {
    const std::string square = DracoSquare();
    const std::string refusal =
        "damaged glTF: a compressed mesh says that it has more faces than its data can hold";
    // The header of eleven bytes, the kind of walk and the number of points come first.
    const std::string faces = "\xff\xff\xff\x7f";
    const std::string lie = square.substr(0, 13) + faces + faces + square.substr(14);
    EXPECT_EQ(ReasonOf("a.glb", DracoFile(lie, "0").glb()), refusal);

    std::string withMetadata = lie;
    withMetadata[10] = '\x80';
    // One entry "key" with the value "text", and one group "a" without entries.
    const std::string metadata("\0\1\3key\4text\1\1a\0\0", 15);
    withMetadata.insert(11, metadata);
    EXPECT_EQ(ReasonOf("a.glb", DracoFile(withMetadata, "0").glb()), refusal);

    // Groups without entries, each with a group.
    withMetadata = withMetadata.substr(0, 11) + '\0';
    for (int i = 0; i < 40; ++i)
        withMetadata += std::string("\0\1\1a", 4);
    EXPECT_EQ(ReasonOf("a.glb", DracoFile(withMetadata, "0").glb()),
              "damaged glTF: the metadata of a compressed mesh is nested too deeply");
}

TEST(GltfDraco, RefusesDamagedMeshes) {
    EXPECT_THAT(BuiltScene(DracoFile("DRACO but no more", "0"))->error(),
                HasSubstr("damaged glTF: a mesh cannot be decompressed"));
    EXPECT_THAT(BuiltScene(DracoFile(DracoSquare(), "9"))->error(),
                HasSubstr("damaged glTF: a compressed mesh has no buffer view"));
    const std::string square = DracoSquare();
    for (std::size_t i = 0; i < square.size(); ++i) {
        std::string damaged = square;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x55);
        ReasonOf("a.glb", DracoFile(damaged, "0").glb());
        ReasonOf("a.glb", DracoFile(square.substr(0, i), "0").glb());
    }
}

} // namespace
