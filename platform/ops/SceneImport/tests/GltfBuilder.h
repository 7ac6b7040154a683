#ifndef SCENEIMPORT_TESTS_GLTFBUILDER_H
#define SCENEIMPORT_TESTS_GLTFBUILDER_H

#include <cstdint>
#include <string>
#include <vector>

#include "ImportedScene.h"
#include "TempDirectory.h"
#include "TestScenes.h"

/// Numbers as glTF counts them.
enum class GltfNumber { Byte = 5120, UByte, Short, UShort, UInt = 5125, Float };

/// Writes small glTF files: the data comes piece by piece, the rest as JSON text.
class GltfBuilder {
public:
    /// Adds a buffer view; returns its index. `more` holds further members.
    int view(const std::string& bytes, const std::string& more = "") {
        buffer.append((4 - buffer.size() % 4) % 4, '\0');
        const std::size_t offset = buffer.size();
        buffer += bytes;
        return add(views, viewCount,
                   R"({"buffer": 0, "byteOffset": )" + std::to_string(offset) +
                       ", \"byteLength\": " + std::to_string(bytes.size()) + more + "}");
    }

    /// Adds an accessor of a view of its own; returns its index. `more` holds further members.
    template <typename Number>
    int accessor(const std::vector<Number>& numbers, GltfNumber number, const std::string& type,
                 const std::string& more = "") {
        return accessorOf(view(BytesOf(numbers)), numbers.size() / widthOf(type), number, type,
                          more);
    }

    /// Adds an accessor; one without a view (-1) has no data.
    int accessorOf(int view, std::size_t count, GltfNumber number, const std::string& type,
                   const std::string& more = "") {
        const std::string source = view < 0 ? "" : "\"bufferView\": " + std::to_string(view) + ", ";
        return add(accessors, accessorCount,
                   "{" + source + "\"componentType\": " + std::to_string(static_cast<int>(number)) +
                       ", \"count\": " + std::to_string(count) + ", \"type\": \"" + type + "\"" +
                       more + "}");
    }

    /// Adds a view whose data is `encoded`, as an extension with these members says.
    int compressedView(const std::string& encoded, const std::string& members) {
        buffer.append((4 - buffer.size() % 4) % 4, '\0');
        const std::string place = R"("buffer": 0, "byteOffset": )" + std::to_string(buffer.size()) +
                                  ", \"byteLength\": " + std::to_string(encoded.size());
        buffer += encoded;
        return add(views, viewCount,
                   R"({"buffer": 1, "byteLength": 4, "extensions": {"EXT_meshopt_compression": {)" +
                       place + ", " + members + "}}}");
    }

    int floats(const std::vector<float>& numbers, const std::string& type) {
        return accessor(numbers, GltfNumber::Float, type);
    }

    /// One node "thing" with a mesh "mesh" of one primitive, whose JSON members are given.
    void showPrimitive(const std::string& primitive) {
        rest = R"("scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"name": "thing", "mesh": 0}],
            "meshes": [{"name": "mesh", "primitives": [{)" +
               primitive + "}]}]";
    }

    /// All members of the file but those that hold data.
    std::string rest;

    /// The second buffer has no data: it is the place of compressed views.
    std::string glb() const { return BinaryGltf(json(R"(}, {"byteLength": 4}])"), buffer); }
    /// `endOfBuffers` ends the first buffer, the list of buffers, and holds what else is in them.
    std::string json(const std::string& endOfBuffers) const {
        return R"({"asset": {"version": "2.0"}, )" + rest + ", \"accessors\": [" + accessors +
               "], \"bufferViews\": [" + views +
               "], \"buffers\": [{\"byteLength\": " + std::to_string(buffer.size()) + endOfBuffers +
               "}";
    }
    const std::string& data() const { return buffer; }

private:
    static std::size_t widthOf(const std::string& type) {
        if (type == "SCALAR") return 1;
        const std::size_t size = static_cast<std::size_t>(type.back() - '0');
        return type[0] == 'M' ? size * size : size;
    }
    static int add(std::string& list, int& count, const std::string& item) {
        list += (count > 0 ? ", " : "") + item;
        return count++;
    }

    std::string buffer, views, accessors;
    int viewCount = 0, accessorCount = 0;
};

/// A scene that a file describes, imported.
class BuiltScene {
public:
    explicit BuiltScene(const GltfBuilder& file)
        : scene(directory.write("built.glb", file.glb())) {}
    const ImportedScene& operator*() const { return scene; }
    const ImportedScene* operator->() const { return &scene; }

private:
    const TempDirectory directory;
    const ImportedScene scene;
};

#endif
