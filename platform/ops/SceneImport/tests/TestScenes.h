#ifndef SCENEIMPORT_TESTS_TESTSCENES_H
#define SCENEIMPORT_TESTS_TESTSCENES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "TempDirectory.h"

/// Files of a few lines, as text.

template <typename Number>
std::string BytesOf(const std::vector<Number>& numbers) {
    std::string bytes(numbers.size() * sizeof(Number), '\0');
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return bytes;
}

/// The numbers of YardJson: a quad of 2 by 1, and keys at 1 and 2 seconds.
inline std::string YardBuffer() {
    return BytesOf<float>({0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0}) +        // 0: positions
           BytesOf<float>({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}) +        // 48: normals
           BytesOf<float>({0, 1, 1, 1, 1, 0, 0, 0}) +                    // 96: texture coordinates
           BytesOf<std::uint16_t>({0, 1, 2, 0, 2, 3}) +                  // 128: two triangles
           BytesOf<float>({1, 2}) +                                      // 140: seconds
           BytesOf<float>({0, 0, 4, 0, 0, 6}) +                          // 148: translations
           BytesOf<float>({0, 0, 0, 1, 0, 0.70710678f, 0, 0.70710678f}); // 172: a quarter turn
}

/// A panel, a camera that moves, two lamps of one name that share one light, the second of
/// which turns and holds another panel. `buffer` says where YardBuffer is.
inline std::string YardJson(const std::string& buffer) {
    return R"({
"asset": {"version": "2.0"},
"extensionsUsed": ["KHR_lights_punctual"],
"extensions": {"KHR_lights_punctual": {"lights": [
  {"type": "spot", "color": [1, 0.5, 0.25], "intensity": 8, "range": 30,
   "spot": {"innerConeAngle": 0.25, "outerConeAngle": 0.5}}]}},
"scene": 0, "scenes": [{"nodes": [0]}],
"nodes": [
  {"name": "yard", "children": [1, 2, 3, 4]},
  {"name": "panel", "mesh": 0, "translation": [1, 2, 3]},
  {"name": "view", "camera": 0, "translation": [0, 0, 4]},
  {"name": "lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}},
  {"name": "lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}, "children": [5]},
  {"name": "a/b", "mesh": 0, "scale": [10, 10, 10]}],
"cameras": [{"type": "perspective",
  "perspective": {"yfov": 0.5, "aspectRatio": 2, "znear": 0.25, "zfar": 80}}],
"animations": [{"channels": [
  {"sampler": 0, "target": {"node": 2, "path": "translation"}},
  {"sampler": 1, "target": {"node": 4, "path": "rotation"}}],
  "samplers": [{"input": 4, "output": 5}, {"input": 4, "output": 6}]}],
"materials": [{"name": "paint", "doubleSided": true,
  "pbrMetallicRoughness": {"baseColorFactor": [0.8, 0.4, 0.2, 1], "metallicFactor": 0.5,
    "roughnessFactor": 0.25, "baseColorTexture": {"index": 0},
    "metallicRoughnessTexture": {"index": 1}},
  "emissiveFactor": [0, 0.5, 0]}],
"textures": [{"source": 0, "sampler": 0}, {"source": 1}],
"samplers": [{"wrapS": 33071, "wrapT": 33648}],
"images": [{"uri": "maps/base.png"}, {"uri": "rough.png"}],
"meshes": [{"name": "quad", "primitives": [{"material": 0, "indices": 3,
  "attributes": {"POSITION": 0, "NORMAL": 1, "TEXCOORD_0": 2}}]}],
"accessors": [
  {"bufferView": 0, "componentType": 5126, "count": 4, "type": "VEC3",
   "min": [0, 0, 0], "max": [2, 1, 0]},
  {"bufferView": 1, "componentType": 5126, "count": 4, "type": "VEC3"},
  {"bufferView": 2, "componentType": 5126, "count": 4, "type": "VEC2"},
  {"bufferView": 3, "componentType": 5123, "count": 6, "type": "SCALAR"},
  {"bufferView": 4, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [1], "max": [2]},
  {"bufferView": 5, "componentType": 5126, "count": 2, "type": "VEC3"},
  {"bufferView": 6, "componentType": 5126, "count": 2, "type": "VEC4"}],
"bufferViews": [
  {"buffer": 0, "byteOffset": 0, "byteLength": 48},
  {"buffer": 0, "byteOffset": 48, "byteLength": 48},
  {"buffer": 0, "byteOffset": 96, "byteLength": 32},
  {"buffer": 0, "byteOffset": 128, "byteLength": 12},
  {"buffer": 0, "byteOffset": 140, "byteLength": 8},
  {"buffer": 0, "byteOffset": 148, "byteLength": 24},
  {"buffer": 0, "byteOffset": 172, "byteLength": 32}],
"buffers": [{"byteLength": 204)" +
           buffer + "}]}";
}

/// Writes yard.gltf and its buffer yard.bin; returns the path of the first.
inline std::string WriteYard(const TempDirectory& directory) {
    directory.write("yard.bin", YardBuffer());
    return directory.write("yard.gltf", YardJson(R"(, "uri": "yard.bin")"));
}

/// Binary glTF of a JSON text and a buffer.
inline std::string BinaryGltf(std::string json, const std::string& buffer) {
    json.append((4 - json.size() % 4) % 4, ' ');
    const auto jsonSize = static_cast<std::uint32_t>(json.size());
    const auto bufferSize = static_cast<std::uint32_t>(buffer.size());
    const std::uint32_t size = 12 + 8 + jsonSize + 8 + bufferSize;
    return "glTF" + BytesOf<std::uint32_t>({2, size, jsonSize}) + "JSON" + json +
           BytesOf<std::uint32_t>({bufferSize}) + std::string("BIN\0", 4) + buffer;
}

/// A square and a triangle that share two corners, in two materials, and a line.
inline const char* const kHouseObj = "mtllib house.mtl\n"
                                     "o house\n"
                                     "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\n"
                                     "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
                                     "vn 0 0 1\n"
                                     "usemtl wall\n"
                                     "f 1/1/1 2/2/1 3/3/1 4/4/1\n"
                                     "o roof\n"
                                     "usemtl tile\n"
                                     "f 4 3 5\n"
                                     "o edge\n"
                                     "l 1 2\n";

inline const char* const kHouseMtl = "newmtl wall\n"
                                     "Kd 0.8 0.1 0.1\n"
                                     "Ks 0.25 0.5 0.5\n"
                                     "Ke 0 0.5 0\n"
                                     "Ns 30\n"
                                     "d 0.5\n"
                                     "Ni 1.5\n"
                                     "map_Kd maps\\wall.png\n"
                                     "newmtl tile\n"
                                     "Kd 0 0 1\n"
                                     "Pr 0.3\n"
                                     "Pm 0.7\n";

inline std::string WriteHouse(const TempDirectory& directory) {
    directory.write("house.mtl", kHouseMtl);
    return directory.write("house.obj", kHouseObj);
}

/// Three coloured points.
inline const char* const kPointsPly = "ply\n"
                                      "format ascii 1.0\n"
                                      "comment no faces\n"
                                      "element vertex 3\n"
                                      "property float x\n"
                                      "property float y\n"
                                      "property float z\n"
                                      "property uchar red\n"
                                      "property uchar green\n"
                                      "property uchar blue\n"
                                      "end_header\n"
                                      "0 0 0 255 0 0\n"
                                      "1 2 3 0 255 0\n"
                                      "4 5 -6 0 0 255\n";

/// A tetrahedron's four triangles.
inline const char* const kFacesPly = "ply\n"
                                     "format ascii 1.0\n"
                                     "element vertex 4\n"
                                     "property float x\n"
                                     "property float y\n"
                                     "property float z\n"
                                     "element face 4\n"
                                     "property list uchar int vertex_indices\n"
                                     "end_header\n"
                                     "0 0 0\n1 0 0\n0 1 0\n0 0 1\n"
                                     "3 0 2 1\n3 0 1 3\n3 0 3 2\n3 1 2 3\n";

#endif
