#ifndef SCENEIMPORT_TESTS_GLTFWRITER_H
#define SCENEIMPORT_TESTS_GLTFWRITER_H

#include <cstdint>
#include <string>
#include <vector>

#include "TempDirectory.h"
#include "TestScenes.h"

/// Collects the accessors of a glTF file, whose other parts a test writes as JSON.
class GltfWriter {
public:
    /// Returns the index of the accessor as text. `type` is "SCALAR", "VEC3" and so on, of `width`
    /// numbers.
    std::string floats(const char* type, std::size_t width, const std::vector<float>& values) {
        return add(type, 5126, values.size() / width, BytesOf(values));
    }
    std::string bytes(const char* type, std::size_t width,
                      const std::vector<std::uint8_t>& values) {
        return add(type, 5121, values.size() / width, BytesOf(values));
    }

    /// `members` are those of the document beside the accessors and buffers, without brackets.
    std::string write(const TempDirectory& directory, const std::string& members) const {
        return directory.write(
            "model.glb", BinaryGltf("{\"asset\": {\"version\": \"2.0\"}, " + members +
                                        ", \"accessors\": [" + accessors + "], \"bufferViews\": [" +
                                        views + "], \"buffers\": [{\"byteLength\": " +
                                        std::to_string(buffer.size()) + "}]}",
                                    buffer));
    }

private:
    std::string add(const char* type, int component, std::size_t count, const std::string& data) {
        const std::string comma = size > 0 ? ", " : "";
        accessors += comma + "{\"bufferView\": " + std::to_string(size) +
                     ", \"componentType\": " + std::to_string(component) +
                     ", \"count\": " + std::to_string(count) + ", \"type\": \"" + type + "\"}";
        views += comma + "{\"buffer\": 0, \"byteOffset\": " + std::to_string(buffer.size()) +
                 ", \"byteLength\": " + std::to_string(data.size()) + "}";
        buffer += data;
        buffer.append((4 - buffer.size() % 4) % 4, '\0');
        return std::to_string(size++);
    }

    std::string accessors, views, buffer;
    std::size_t size = 0;
};

#endif
