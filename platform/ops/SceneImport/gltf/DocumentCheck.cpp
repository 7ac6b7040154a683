#include "DocumentCheck.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "GltfError.h"

namespace TellarSceneImport {

namespace {

// The componentType of floats.
constexpr int kFloatComponents = 5126;

// The last of the seven modes of a primitive.
constexpr unsigned kLastMode = 6;

// The lists whose items are objects, in the document.
constexpr const char* kLists[] = {"accessors", "animations", "buffers", "bufferViews", "cameras",
                                  "images",    "materials",  "meshes",  "nodes",       "samplers",
                                  "scenes",    "skins",      "textures"};

void CheckObjects(const Json* owner, const char* list) {
    const Json* items = ArrayMember(owner, list);
    for (rapidjson::SizeType i = 0; i < SizeOf(items); ++i)
        if (!(*items)[i].IsObject())
            GltfError(std::string("an item of \"") + list + "\" is no object");
}

class Checker {
public:
    Checker(const Json& document, int maxDepth) : document(document), maxDepth(maxDepth) {}

    void check() const;

private:
    rapidjson::SizeType numberOf(const char* list) const {
        return SizeOf(ArrayMember(&document, list));
    }
    template <typename Body>
    void forEach(const Json* owner, const char* list, Body body) const {
        const Json* items = ArrayMember(owner, list);
        for (rapidjson::SizeType i = 0; i < SizeOf(items); ++i)
            body((*items)[i]);
    }
    void checkIndex(const Json& owner, const char* member, const char* list,
                    const char* kind) const;
    void checkIndices(const Json& owner, const char* member, const char* list,
                      const char* kind) const;

    void checkBuffers() const;
    void checkImages() const;
    void checkAccessors() const;
    void checkSparse(const Json& sparse, std::uint32_t count) const;
    void checkMeshes() const;
    void checkAttributes(const Json* attributes) const;
    void checkLight(const Json& node) const;
    void checkNodes() const;
    void checkMaterials() const;
    void checkAnimation(const Json& animation) const;
    void checkSkinsAndAnimations() const;
    void checkTimes(const Json& sampler) const;
    std::vector<int> parentsOfNodes() const;
    void checkDepth(const std::vector<int>& parents) const;

    const Json& document;
    const int maxDepth;
};

bool IsIndex(const Json* value, rapidjson::SizeType count) {
    return value && value->IsUint() && value->GetUint() < count;
}

// `kind` is the sort of owner, for the message.
void Checker::checkIndex(const Json& owner, const char* member, const char* list,
                         const char* kind) const {
    const Json* index = Member(&owner, member);
    if (index && !IsIndex(index, numberOf(list)))
        GltfError(std::string("\"") + member + "\" of " + kind + " refers to nothing");
}

void Checker::checkIndices(const Json& owner, const char* member, const char* list,
                           const char* kind) const {
    const auto count = numberOf(list);
    forEach(&owner, member, [&](const Json& index) {
        if (!IsIndex(&index, count))
            GltfError(std::string("\"") + member + "\" of " + kind + " refers to nothing");
    });
}

void CheckSize(const Json& owner, const char* member, const char* kind, std::uint64_t most) {
    const Json* size = Member(&owner, member);
    if (size && !(size->IsUint64() && size->GetUint64() <= most))
        GltfError(std::string("\"") + member + "\" of " + kind + " is no size");
}

// Sizes up to here can be added without overflow.
constexpr std::uint64_t kMaxSize = std::uint64_t(1) << 40;

void Checker::checkBuffers() const {
    forEach(&document, "buffers", [](const Json& buffer) {
        if (!Member(&buffer, "byteLength")) GltfError("a buffer has no \"byteLength\"");
        CheckSize(buffer, "byteLength", "a buffer", kMaxSize);
    });
    forEach(&document, "bufferViews", [this](const Json& view) {
        if (!Member(&view, "buffer")) GltfError("a buffer view has no buffer");
        checkIndex(view, "buffer", "buffers", "a buffer view");
        for (const char* member : {"byteLength", "byteOffset", "byteStride"})
            CheckSize(view, member, "a buffer view", kMaxSize);
    });
}

void Checker::checkImages() const {
    forEach(&document, "images", [this](const Json& image) {
        checkIndex(image, "bufferView", "bufferViews", "an image");
    });
    forEach(&document, "textures", [this](const Json& texture) {
        checkIndex(texture, "source", "images", "a texture");
        checkIndex(texture, "sampler", "samplers", "a texture");
    });
}

void Checker::checkSparse(const Json& sparse, std::uint32_t count) const {
    const auto numberOfViews = numberOf("bufferViews");
    const Json* changes = Member(&sparse, "count");
    const Json* indices = Member(&sparse, "indices");
    const Json* values = Member(&sparse, "values");
    const Json* type = Member(indices, "componentType");
    if (!changes || !changes->IsUint() || changes->GetUint() > count || !type || !type->IsUint() ||
        !IsIndex(Member(indices, "bufferView"), numberOfViews) ||
        !IsIndex(Member(values, "bufferView"), numberOfViews))
        GltfError("a sparse accessor is incomplete");
    constexpr auto kMaxInt = std::numeric_limits<int>::max();
    CheckSize(*indices, "byteOffset", "a sparse accessor", kMaxInt);
    CheckSize(*values, "byteOffset", "a sparse accessor", kMaxInt);
}

void Checker::checkAccessors() const {
    forEach(&document, "accessors", [this](const Json& accessor) {
        const Json* count = Member(&accessor, "count");
        if (!count || !count->IsUint()) GltfError("an accessor has no count");
        checkIndex(accessor, "bufferView", "bufferViews", "an accessor");
        CheckSize(accessor, "byteOffset", "an accessor", kMaxSize);
        if (const Json* sparse = Member(&accessor, "sparse"))
            checkSparse(*sparse, count->GetUint());
    });
}

void Checker::checkAttributes(const Json* attributes) const {
    if (!attributes || !attributes->IsObject()) GltfError("a primitive has no attributes");
    for (const auto& attribute : attributes->GetObject())
        if (!IsIndex(&attribute.value, numberOf("accessors")))
            GltfError(std::string("attribute \"") + attribute.name.GetString() +
                      "\" of a primitive refers to nothing");
}

void Checker::checkMeshes() const {
    forEach(&document, "meshes", [this](const Json& mesh) {
        CheckObjects(&mesh, "primitives");
        forEach(&mesh, "primitives", [this](const Json& primitive) {
            checkAttributes(Member(&primitive, "attributes"));
            checkIndex(primitive, "indices", "accessors", "a primitive");
            checkIndex(primitive, "material", "materials", "a primitive");
            CheckSize(primitive, "mode", "a primitive", kLastMode);
            forEach(&primitive, "targets",
                    [this](const Json& target) { checkAttributes(&target); });
        });
    });
}

void CheckNumbers(const Json& node, const char* member, rapidjson::SizeType count) {
    const Json* numbers = Member(&node, member);
    if (!numbers) return;
    const bool isSound =
        numbers->IsArray() && numbers->Size() == count &&
        std::all_of(numbers->Begin(), numbers->End(), [](const Json& n) { return n.IsNumber(); });
    if (!isSound)
        GltfError(std::string("\"") + member + "\" of a node is not " + std::to_string(count) +
                  " numbers");
}

void Checker::checkLight(const Json& node) const {
    const Json* use = Member(Member(&node, "extensions"), "KHR_lights_punctual");
    const Json* all = Member(Member(&document, "extensions"), "KHR_lights_punctual");
    const Json* light = Member(use, "light");
    if (light && !IsIndex(light, SizeOf(ArrayMember(all, "lights"))))
        GltfError("\"light\" of a node refers to nothing");
}

void Checker::checkNodes() const {
    forEach(&document, "nodes", [this](const Json& node) {
        checkIndex(node, "camera", "cameras", "a node");
        checkIndex(node, "mesh", "meshes", "a node");
        checkIndex(node, "skin", "skins", "a node");
        CheckNumbers(node, "matrix", 16);
        CheckNumbers(node, "translation", 3);
        CheckNumbers(node, "rotation", 4);
        CheckNumbers(node, "scale", 3);
        checkLight(node);
    });
    forEach(&document, "scenes",
            [this](const Json& scene) { checkIndices(scene, "nodes", "nodes", "a scene"); });
    checkIndex(document, "scene", "scenes", "the file");
    checkDepth(parentsOfNodes());
}

// The parent of every node, or -1.
std::vector<int> Checker::parentsOfNodes() const {
    const Json* nodes = ArrayMember(&document, "nodes");
    std::vector<int> parents(SizeOf(nodes), -1);
    for (rapidjson::SizeType i = 0; i < SizeOf(nodes); ++i)
        forEach(&(*nodes)[i], "children", [&](const Json& child) {
            if (!IsIndex(&child, nodes->Size()))
                GltfError("a child of node " + std::to_string(i) + " does not exist");
            int& parent = parents[child.GetUint()];
            if (parent >= 0)
                GltfError("node " + std::to_string(child.GetUint()) + " has two parents");
            parent = static_cast<int>(i);
        });
    return parents;
}

void Checker::checkDepth(const std::vector<int>& parents) const {
    std::vector<int> depths(parents.size(), 0); // 0: not known yet
    for (std::size_t start = 0; start < parents.size(); ++start) {
        std::vector<int> chain; // nodes from `start` up to a root or a node of known depth
        int node = static_cast<int>(start);
        for (; node >= 0 && depths[node] == 0; node = parents[node]) {
            chain.push_back(node);
            if (chain.size() > parents.size()) GltfError("the nodes form a cycle");
        }
        int depth = node >= 0 ? depths[node] : 0;
        for (auto step = chain.rbegin(); step != chain.rend(); ++step)
            depths[*step] = ++depth;
        if (depth > maxDepth)
            throw std::runtime_error("nodes are nested deeper than " + std::to_string(maxDepth));
    }
}

void CheckPair(const Json* pair) {
    if (pair &&
        !(pair->IsArray() && pair->Size() == 2 && (*pair)[0].IsNumber() && (*pair)[1].IsNumber()))
        GltfError("a texture transform needs pairs of numbers");
}

// Texture transforms may be at any texture of a material. The depth of the JSON is known to be
// small.
void CheckTextureTransforms(const Json& value) {
    if (value.IsArray())
        for (const Json& item : value.GetArray())
            CheckTextureTransforms(item);
    if (!value.IsObject()) return;
    const Json* transform = Member(&value, "KHR_texture_transform");
    CheckPair(Member(transform, "offset"));
    CheckPair(Member(transform, "scale"));
    for (const auto& member : value.GetObject())
        CheckTextureTransforms(member.value);
}

void Checker::checkMaterials() const {
    if (const Json* materials = Member(&document, "materials")) CheckTextureTransforms(*materials);
}

// `sampler` is one of an animation.
void Checker::checkTimes(const Json& sampler) const {
    for (const char* member : {"input", "output"}) {
        if (!Member(&sampler, member)) GltfError("a sampler of an animation is incomplete");
        checkIndex(sampler, member, "accessors", "a sampler of an animation");
    }
    const Json& times = (*Member(&document, "accessors"))[Member(&sampler, "input")->GetUint()];
    const Json* componentType = Member(&times, "componentType");
    const bool areFloats = componentType && *componentType == kFloatComponents;
    if (!areFloats || TextMember(&times, "type") != "SCALAR")
        GltfError("the times of an animation are not floats");
}

void Checker::checkAnimation(const Json& animation) const {
    CheckObjects(&animation, "samplers");
    CheckObjects(&animation, "channels");
    forEach(&animation, "samplers", [this](const Json& sampler) { checkTimes(sampler); });
    const auto numberOfSamplers = SizeOf(ArrayMember(&animation, "samplers"));
    forEach(&animation, "channels", [&](const Json& channel) {
        const Json* target = Member(&channel, "target");
        if (!IsIndex(Member(&channel, "sampler"), numberOfSamplers) || !target)
            GltfError("a channel of an animation is incomplete");
        checkIndex(*target, "node", "nodes", "a channel of an animation");
    });
}

void Checker::checkSkinsAndAnimations() const {
    forEach(&document, "skins", [this](const Json& skin) {
        checkIndices(skin, "joints", "nodes", "a skin");
        checkIndex(skin, "inverseBindMatrices", "accessors", "a skin");
        checkIndex(skin, "skeleton", "nodes", "a skin");
    });
    forEach(&document, "animations", [this](const Json& animation) { checkAnimation(animation); });
}

void Checker::check() const {
    for (const char* list : kLists)
        CheckObjects(&document, list);
    checkBuffers();
    checkImages();
    checkAccessors();
    checkMaterials();
    checkMeshes();
    checkSkinsAndAnimations();
    checkNodes();
}

} // namespace

void CheckGltf(const Json& document, int maxDepth) {
    Checker(document, maxDepth).check();
}

} // namespace TellarSceneImport
