#include "GltfFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "GltfJson.h"

namespace TellarSceneImport {

namespace {

constexpr double kDegrees = 180.0 / 3.14159265358979323846;

// glTF itself needs about a dozen levels. Readers further down the line recurse.
constexpr int kMaxJsonDepth = 256;

// For a camera that sees infinitely far.
constexpr double kEndlessFarClip = 1e6;

// Binary glTF: a header of three words (magic, version, length), then chunks, each with a
// header of two words (length, kind); the first chunk is the JSON text.
constexpr std::uint32_t kBinaryMagic = 0x46546C67; // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;   // "JSON"
constexpr std::size_t kJsonStart = 20;

std::uint32_t WordAt(const std::string& content, std::size_t offset) {
    unsigned char bytes[4];
    std::memcpy(bytes, content.data() + offset, 4);
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | std::uint32_t(bytes[3]) << 24;
}

void AppendWord(std::string& content, std::size_t word) {
    for (int shift = 0; shift < 32; shift += 8)
        content.push_back(static_cast<char>(word >> shift & 0xff));
}

bool IsBinary(const std::string& content) {
    return content.size() >= 4 && WordAt(content, 0) == kBinaryMagic;
}

std::string_view JsonText(const std::string& content) {
    if (!IsBinary(content)) return content;
    if (content.size() < kJsonStart || WordAt(content, 16) != kJsonChunk)
        GltfError("the JSON chunk is missing");
    const std::size_t length = WordAt(content, 12);
    if (length > content.size() - kJsonStart) GltfError("the file ends inside the JSON chunk");
    return std::string_view(content).substr(kJsonStart, length);
}

// How deep brackets are nested outside strings.
int NestingOf(std::string_view json) {
    int depth = 0, deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString && c == '\\')
            ++i;
        else if (c == '"')
            inString = !inString;
        else if (!inString && (c == '{' || c == '['))
            deepest = std::max(deepest, ++depth);
        else if (!inString && (c == '}' || c == ']'))
            --depth;
    }
    return deepest;
}

std::string TextMember(const Json* object, const char* name) {
    const Json* found = Member(object, name);
    return found && found->IsString() ? std::string(found->GetString(), found->GetStringLength())
                                      : std::string();
}

double NumberMember(const Json* object, const char* name, double absent) {
    const Json* found = Member(object, name);
    return found && found->IsNumber() && std::isfinite(found->GetDouble()) ? found->GetDouble()
                                                                           : absent;
}

const Json* PunctualLights(const Json* owner) {
    return Member(Member(owner, "extensions"), "KHR_lights_punctual");
}

// -1 when absent.
int IndexMember(const Json* object, const char* name, std::size_t count) {
    const Json* found = Member(object, name);
    if (!found) return -1;
    if (!found->IsUint() || found->GetUint() >= count)
        GltfError(std::string("\"") + name + "\" of a node refers to nothing");
    return static_cast<int>(found->GetUint());
}

ImportedCamera ReadCamera(const Json& source) {
    ImportedCamera camera;
    const Json* orthographic = Member(&source, "orthographic");
    const Json* lens = orthographic ? orthographic : Member(&source, "perspective");
    camera.nearClip = NumberMember(lens, "znear", camera.nearClip);
    camera.farClip = NumberMember(lens, "zfar", kEndlessFarClip);
    if (orthographic) {
        const double width = NumberMember(lens, "xmag", 1.0);
        const double height = NumberMember(lens, "ymag", 1.0);
        camera.orthographicWidth = 2.0 * std::abs(width);
        camera.aspect = height != 0.0 ? std::abs(width / height) : 0.0;
        return camera;
    }
    camera.aspect = NumberMember(lens, "aspectRatio", 0.0);
    const double halfHeight = std::tan(NumberMember(lens, "yfov", 45.0 / kDegrees) / 2.0);
    const double aspect = camera.aspect > 0.0 ? camera.aspect : 1.0;
    camera.fieldOfView = 2.0 * std::atan(halfHeight * aspect) * kDegrees;
    return camera;
}

ImportedLight ReadLight(const Json& source) {
    ImportedLight light;
    const std::string type = TextMember(&source, "type");
    if (type == "directional" || type == "spot")
        light.type = type;
    else
        light.decay = {0, 0, 1};
    float rgb[3] = {1, 1, 1};
    const Json* color = ArrayMember(&source, "color");
    for (rapidjson::SizeType i = 0; i < std::min<std::size_t>(SizeOf(color), 3); ++i)
        if ((*color)[i].IsNumber()) rgb[i] = static_cast<float>((*color)[i].GetDouble());
    light.setColor(rgb[0], rgb[1], rgb[2]);
    light.intensity *= static_cast<float>(NumberMember(&source, "intensity", 1.0));
    light.range = static_cast<float>(NumberMember(&source, "range", 0.0));
    if (light.type == "spot") {
        light.decay = {0, 0, 1};
        const Json* spot = Member(&source, "spot");
        // The file holds the angles between axis and cone.
        const double inner = NumberMember(spot, "innerConeAngle", 0.0);
        const double outer = NumberMember(spot, "outerConeAngle", 45.0 / kDegrees);
        light.coneInner = static_cast<float>(2.0 * inner * kDegrees);
        light.coneOuter = static_cast<float>(2.0 * outer * kDegrees);
    }
    return light;
}

std::vector<GltfFile::Node> ReadNodes(const Json& nodes, const GltfFile& file) {
    std::vector<GltfFile::Node> result;
    for (const Json& node : nodes.GetArray()) {
        if (!node.IsObject()) GltfError("a node is no object");
        result.push_back({TextMember(&node, "name"),
                          IndexMember(&node, "camera", file.cameras.size()),
                          IndexMember(PunctualLights(&node), "light", file.lights.size())});
    }
    return result;
}

void NameNodesByIndex(Json& nodes, rapidjson::Document::AllocatorType& allocator) {
    for (rapidjson::SizeType i = 0; i < nodes.Size(); ++i) {
        nodes[i].RemoveMember("name");
        nodes[i].AddMember("name", Json(std::to_string(i).c_str(), allocator), allocator);
    }
}

void RemoveFromAll(Json& owner, const char* list, const char* name) {
    const auto found = owner.FindMember(list);
    if (found == owner.MemberEnd()) return;
    for (Json& item : found->value.GetArray())
        item.RemoveMember(name);
}

// Skins and shapes to blend to are not imported, and Assimp does not survive all that are legal.
void DropUnused(Json& document) {
    document.RemoveMember("skins");
    RemoveFromAll(document, "nodes", "skin");
    const auto meshes = document.FindMember("meshes");
    if (meshes == document.MemberEnd()) return;
    for (Json& mesh : meshes->value.GetArray())
        RemoveFromAll(mesh, "primitives", "targets");
}

// The file with another JSON text.
std::string WithJson(const std::string& content, std::string json) {
    if (!IsBinary(content)) return json;
    json.append((4 - json.size() % 4) % 4, ' ');
    const std::size_t restStart = kJsonStart + WordAt(content, 12);
    const std::size_t restLength = content.size() - restStart;
    if (kJsonStart + json.size() + restLength > UINT32_MAX) GltfError("it is too large");
    std::string result;
    result.reserve(kJsonStart + json.size() + restLength);
    AppendWord(result, kBinaryMagic);
    AppendWord(result, WordAt(content, 4));
    AppendWord(result, kJsonStart + json.size() + restLength);
    AppendWord(result, json.size());
    AppendWord(result, kJsonChunk);
    return result.append(json).append(content, restStart, restLength);
}

} // namespace

const GltfFile::Node* GltfFile::findNode(const std::string& assimpName) const {
    // Indices have at most nine digits here; a name made by Assimp is no number.
    if (assimpName.empty() || assimpName.size() > 9 ||
        assimpName.find_first_not_of("0123456789") != std::string::npos)
        return nullptr;
    const std::size_t index = std::stoul(assimpName);
    return index < nodes.size() ? &nodes[index] : nullptr;
}

std::optional<GltfFile> ReadGltf(const std::string& content, int maxDepth) {
    if (IsBinary(content) && content.size() >= 8 && WordAt(content, 4) != 2) return std::nullopt;
    const std::string_view json = JsonText(content);
    if (NestingOf(json) > kMaxJsonDepth)
        GltfError("its JSON is nested deeper than " + std::to_string(kMaxJsonDepth));

    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseIterativeFlag>(
        json.data(), json.size());
    if (document.HasParseError())
        GltfError(std::string(rapidjson::GetParseError_En(document.GetParseError())) + " At byte " +
                  std::to_string(document.GetErrorOffset()) + ".");
    if (!document.IsObject()) GltfError("its JSON is no object");
    if (TextMember(Member(&document, "asset"), "version").substr(0, 1) != "2") return std::nullopt;

    CheckGltf(document, maxDepth);

    GltfFile file;
    const Json* cameras = ArrayMember(&document, "cameras");
    for (rapidjson::SizeType i = 0; i < SizeOf(cameras); ++i)
        file.cameras.push_back(ReadCamera((*cameras)[i]));
    const Json* lights = ArrayMember(PunctualLights(&document), "lights");
    for (rapidjson::SizeType i = 0; i < SizeOf(lights); ++i)
        file.lights.push_back(ReadLight((*lights)[i]));
    DropUnused(document);
    if (const auto nodes = document.FindMember("nodes"); nodes != document.MemberEnd()) {
        file.nodes = ReadNodes(nodes->value, file);
        NameNodesByIndex(nodes->value, document.GetAllocator());
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    document.Accept(writer);
    file.renamed = WithJson(content, std::string(text.GetString(), text.GetSize()));
    return file;
}

} // namespace TellarSceneImport
