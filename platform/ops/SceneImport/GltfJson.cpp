#include "GltfJson.h"

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace TellarSceneImport {

void GltfError(const std::string& what) {
    throw std::runtime_error("damaged glTF: " + what);
}

const Json* Member(const Json* object, const char* name) {
    if (!object || !object->IsObject()) return nullptr;
    const auto found = object->FindMember(name);
    return found == object->MemberEnd() ? nullptr : &found->value;
}

const Json* ArrayMember(const Json* object, const char* name) {
    const Json* found = Member(object, name);
    if (found && !found->IsArray()) GltfError(std::string("\"") + name + "\" is no array");
    return found;
}

rapidjson::SizeType SizeOf(const Json* array) {
    return array ? array->Size() : 0;
}

namespace {

// An accessor without data of its own is all zeros: more of them than this is no scene.
constexpr std::uint32_t kMostZeros = 1u << 24;

// The componentType of floats.
constexpr int kFloatComponents = 5126;

// The lists whose items are objects, in the document and in a mesh.
constexpr const char* kLists[] = {"accessors", "animations", "buffers", "bufferViews", "cameras",
                                  "images",    "materials",  "meshes",  "nodes",       "samplers",
                                  "scenes",    "skins",      "textures"};

void CheckObjects(const Json* owner, const char* list) {
    const Json* items = ArrayMember(owner, list);
    for (rapidjson::SizeType i = 0; i < SizeOf(items); ++i)
        if (!(*items)[i].IsObject())
            GltfError(std::string("an item of \"") + list + "\" is no object");
}

bool IsIndex(const Json* value, rapidjson::SizeType count) {
    return value && value->IsUint() && value->GetUint() < count;
}

void CheckAccessor(const Json& accessor, rapidjson::SizeType numberOfViews) {
    const Json* count = Member(&accessor, "count");
    if (!count || !count->IsUint()) GltfError("an accessor has no count");
    if (!Member(&accessor, "bufferView") && count->GetUint() > kMostZeros)
        GltfError("an accessor without data is too large");
    const Json* sparse = Member(&accessor, "sparse");
    if (!sparse) return;
    const Json* changes = Member(sparse, "count");
    const Json* indices = Member(sparse, "indices");
    const Json* type = Member(indices, "componentType");
    if (!changes || !changes->IsUint() || changes->GetUint() > count->GetUint() || !type ||
        !type->IsUint() || !IsIndex(Member(indices, "bufferView"), numberOfViews) ||
        !IsIndex(Member(Member(sparse, "values"), "bufferView"), numberOfViews))
        GltfError("a sparse accessor is incomplete");
}

void CheckAccessors(const Json& document) {
    const Json* accessors = ArrayMember(&document, "accessors");
    const auto numberOfViews = SizeOf(ArrayMember(&document, "bufferViews"));
    for (rapidjson::SizeType i = 0; i < SizeOf(accessors); ++i)
        CheckAccessor((*accessors)[i], numberOfViews);
}

// Assimp takes the times of an animation for floats whatever they are, and numbers that are smaller
// leave bytes of its memory as they happen to be.
void CheckTimes(const Json& sampler, const Json* accessors) {
    const Json* input = Member(&sampler, "input");
    if (!IsIndex(input, SizeOf(accessors))) return; // Assimp says so, or passes it over
    const Json& times = (*accessors)[input->GetUint()];
    const Json* componentType = Member(&times, "componentType");
    const Json* type = Member(&times, "type");
    const bool areFloats = componentType && *componentType == kFloatComponents;
    if (!areFloats || !type || !type->IsString() || *type != "SCALAR")
        GltfError("the times of an animation are no floats");
}

void CheckAnimations(const Json& document) {
    const Json* accessors = ArrayMember(&document, "accessors");
    const Json* animations = ArrayMember(&document, "animations");
    for (rapidjson::SizeType i = 0; i < SizeOf(animations); ++i) {
        CheckObjects(&(*animations)[i], "samplers");
        const Json* samplers = ArrayMember(&(*animations)[i], "samplers");
        for (rapidjson::SizeType j = 0; j < SizeOf(samplers); ++j)
            CheckTimes((*samplers)[j], accessors);
    }
}

// The parent of every node, or -1. Throws unless the nodes form trees.
std::vector<int> ParentsOf(const Json& nodes) {
    std::vector<int> parents(nodes.Size(), -1);
    for (rapidjson::SizeType i = 0; i < nodes.Size(); ++i) {
        const Json* children = ArrayMember(&nodes[i], "children");
        for (rapidjson::SizeType j = 0; j < SizeOf(children); ++j) {
            const Json& child = (*children)[j];
            if (!child.IsUint() || child.GetUint() >= nodes.Size())
                GltfError("a child of node " + std::to_string(i) + " does not exist");
            int& parent = parents[child.GetUint()];
            if (parent >= 0)
                GltfError("node " + std::to_string(child.GetUint()) + " has two parents");
            parent = static_cast<int>(i);
        }
    }
    return parents;
}

void CheckDepth(const std::vector<int>& parents, int maxDepth) {
    std::vector<int> depths(parents.size(), 0); // 0: not known yet
    for (std::size_t start = 0; start < parents.size(); ++start) {
        std::vector<int> chain; // from `start` up to a root, or to a node of known depth
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

// Texture transforms may stand at any texture of a material. The depth of the JSON is known to
// be small.
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

} // namespace

void CheckGltf(const Json& document, int maxDepth) {
    for (const char* list : kLists)
        CheckObjects(&document, list);
    const Json* meshes = ArrayMember(&document, "meshes");
    for (rapidjson::SizeType i = 0; i < SizeOf(meshes); ++i)
        CheckObjects(&(*meshes)[i], "primitives");
    CheckAccessors(document);
    CheckAnimations(document);
    if (const Json* materials = Member(&document, "materials")) CheckTextureTransforms(*materials);
    if (const Json* nodes = Member(&document, "nodes")) CheckDepth(ParentsOf(*nodes), maxDepth);
}

} // namespace TellarSceneImport
