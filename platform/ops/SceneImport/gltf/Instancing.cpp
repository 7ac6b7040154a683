#include "Instancing.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>

#include "Accessors.h"
#include "Document.h"
#include "GltfError.h"
#include "TinyGltf.h"

namespace TellarSceneImport {

namespace {

// Returns nothing for an attribute that is absent.
std::optional<AccessorFloats> ReadAttribute(const Document& document, const tinygltf::Value& all,
                                            const char* name, int width) {
    if (!all.Has(name)) return std::nullopt;
    const tinygltf::Value& value = all.Get(name);
    const int accessor = value.IsInt() ? value.GetNumberAsInt() : -1;
    if (accessor < 0 || static_cast<std::size_t>(accessor) >= document.model().accessors.size())
        GltfError(std::string("\"") + name + "\" of instances refers to nothing");
    AccessorFloats values = ReadFloats(document, accessor);
    if (values.width != width)
        GltfError(std::string("\"") + name + "\" of instances has the wrong type");
    return values;
}

template <typename Value>
Value ElementOf(const std::optional<AccessorFloats>& values, std::size_t index, Value absent) {
    if (values) std::copy_n(values->at(index), absent.size(), absent.begin());
    return absent;
}

// The number of elements that all present attributes have; nothing if none is present.
std::optional<std::size_t>
CommonCount(std::initializer_list<const std::optional<AccessorFloats>*> attributes) {
    std::optional<std::size_t> count;
    for (const auto* values : attributes) {
        if (!*values) continue;
        if (count && *count != (*values)->count())
            GltfError("the attributes of instances have different lengths");
        count = (*values)->count();
    }
    return count;
}

} // namespace

Instances InstancesOf(const Document& document, const tinygltf::Node& node) {
    Instances result;
    const auto extension = node.extensions.find("EXT_mesh_gpu_instancing");
    if (extension == node.extensions.end() || !extension->second.Has("attributes")) return result;
    const tinygltf::Value& attributes = extension->second.Get("attributes");
    const auto positions = ReadAttribute(document, attributes, "TRANSLATION", 3);
    const auto rotations = ReadAttribute(document, attributes, "ROTATION", 4);
    const auto scales = ReadAttribute(document, attributes, "SCALE", 3);
    const std::optional<std::size_t> count = CommonCount({&positions, &rotations, &scales});
    if (!count) return result; // only attributes of some other program
    result.areUsed = true;
    const Transform none;
    for (std::size_t i = 0; i < *count; ++i)
        result.matrices.push_back(ComposeMatrix(ElementOf(scales, i, none.scale),
                                                Normalized(ElementOf(rotations, i, none.rotation)),
                                                ElementOf(positions, i, none.position)));
    return result;
}

} // namespace TellarSceneImport
