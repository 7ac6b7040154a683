// A custom mutator for scene files whose first line is the file extension. In glTF files it changes
// the tree of the JSON text, because a change of bytes hardly ever gives another valid text, and
// then corrects the lengths in binary files. In other files it changes bytes.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Json = rapidjson::Value;

constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNanAndInfFlag;
constexpr unsigned kWriteFlags = rapidjson::kWriteNanAndInfFlag;

/// The parts of a glTF file.
struct Parts {
    rapidjson::Document json;
    std::string binary;
};

/// Changes the tree of a JSON text at random places.
class JsonMutator {
public:
    JsonMutator(unsigned seed, rapidjson::Document& json) : random(seed), json(json) {}

    void change() {
        values.clear();
        collect(json);
        Json& value = *values[below(values.size())];
        switch (below(8)) {
        case 0:
        case 1:
            changeLeaf(value);
            break;
        case 2:
            value = copyOf(*values[below(values.size())]);
            break;
        case 3:
            moveAway(value);
            break;
        case 4:
            removePart(value);
            break;
        case 5:
            repeatPart(value);
            break;
        case 6:
            addMember(value);
            break;
        default:
            changeLeaf(*values[below(values.size())]);
        }
    }

private:
    std::uint64_t below(std::uint64_t limit) { return random() % limit; }

    void collect(Json& value) {
        values.push_back(&value);
        if (value.IsObject())
            for (auto& member : value.GetObject())
                collect(member.value);
        if (value.IsArray())
            for (Json& item : value.GetArray())
                collect(item);
    }

    Json copyOf(const Json& value) { return Json(value, json.GetAllocator()); }

    Json text(const char* characters) { return Json(characters, json.GetAllocator()); }

    Json number() {
        static const double kNumbers[] = {
            0,   1,     2,    3,     4,     5,    6,     7,     12,         16,
            255, 5120,  5121, 5122,  5123,  5125, 5126,  9728,  10497,      -1,
            0.5, 1e-30, 1e30, 65535, 65536, 1e6,  1.6e7, 1e308, 2147483647, 4294967295.0};
        if (below(24) == 0) return Json(std::numeric_limits<double>::infinity());
        const double number = kNumbers[below(std::size(kNumbers))];
        const bool isSmall = std::abs(number) < 1e10;
        if (isSmall && number == std::floor(number) && below(8) != 0)
            return Json(static_cast<std::int64_t>(number));
        return Json(number);
    }

    Json leaf() {
        static const char* const kTexts[] = {
            "SCALAR",      "VEC2",        "VEC3",       "VEC4",       "MAT4",      "STEP",
            "CUBICSPLINE", "translation", "rotation",   "scale",      "weights",   "MASK",
            "BLEND",       "perspective", "point",      "spot",       "",          "..",
            "ATTRIBUTES",  "TRIANGLES",   "INDICES",    "OCTAHEDRAL", "image/png", "POSITION",
            "JOINTS_0",    "WEIGHTS_0",   "TEXCOORD_0", "COLOR_0",    "data:,abc", "scene.gltf"};
        switch (below(6)) {
        case 0:
            return text(kTexts[below(std::size(kTexts))]);
        case 1:
            return Json(below(2) == 0);
        case 2:
            return Json(rapidjson::kArrayType);
        case 3:
            return Json(rapidjson::kObjectType);
        default:
            return number();
        }
    }

    void changeLeaf(Json& value) {
        if (value.IsInt64() && below(2) == 0)
            value = Json(static_cast<std::int64_t>(static_cast<std::uint64_t>(value.GetInt64()) +
                                                   below(9) - 4));
        else if (value.IsNumber() && below(4) != 0)
            value = number();
        else if ((!value.IsObject() && !value.IsArray()) || below(8) == 0)
            value = leaf();
    }

    /// Replaces the value by another one, and puts it in the place of a third.
    void moveAway(Json& value) {
        Json moved = copyOf(value), other = copyOf(*values[below(values.size())]);
        value = other;
        values.clear(); // the assignment has deleted the parts of `value`
        collect(json);
        *values[below(values.size())] = moved;
    }

    void removePart(Json& value) {
        if (value.IsObject() && value.MemberCount() > 0)
            value.EraseMember(value.MemberBegin() +
                              static_cast<std::ptrdiff_t>(below(value.MemberCount())));
        else if (value.IsArray() && !value.Empty())
            value.Erase(value.Begin() + below(value.Size()));
    }

    void repeatPart(Json& value) {
        if (!value.IsArray() || value.Empty()) return changeLeaf(value);
        const Json item = copyOf(value[static_cast<rapidjson::SizeType>(below(value.Size()))]);
        for (std::uint64_t i = 0; i <= below(4); ++i)
            value.PushBack(copyOf(item), json.GetAllocator());
    }

    void addMember(Json& value) {
        static const char* const kNames[] = {"matrix",
                                             "children",
                                             "mesh",
                                             "skin",
                                             "camera",
                                             "mode",
                                             "indices",
                                             "targets",
                                             "weights",
                                             "sparse",
                                             "count",
                                             "type",
                                             "material",
                                             "normalized",
                                             "byteStride",
                                             "uri",
                                             "bufferView",
                                             "scene",
                                             "name",
                                             "POSITION",
                                             "NORMAL",
                                             "TANGENT",
                                             "JOINTS_0",
                                             "WEIGHTS_0",
                                             "JOINTS_1",
                                             "COLOR_0",
                                             "TEXCOORD_0",
                                             "TEXCOORD_1",
                                             "extensions",
                                             "KHR_draco_mesh_compression",
                                             "EXT_meshopt_compression",
                                             "EXT_mesh_gpu_instancing",
                                             "KHR_texture_transform",
                                             "KHR_lights_punctual",
                                             "KHR_materials_variants",
                                             "KHR_materials_pbrSpecularGlossiness",
                                             "KHR_materials_anisotropy",
                                             "inverseBindMatrices",
                                             "skeleton",
                                             "TRANSLATION"};
        if (!value.IsObject()) return changeLeaf(value);
        value.AddMember(text(kNames[below(std::size(kNames))]),
                        below(2) == 0 ? copyOf(*values[below(values.size())]) : leaf(),
                        json.GetAllocator());
    }

    std::minstd_rand random;
    rapidjson::Document& json;
    std::vector<Json*> values;
};

std::uint32_t WordAt(std::string_view bytes, std::size_t place) {
    std::uint32_t word = 0;
    if (bytes.size() >= place + 4) std::memcpy(&word, bytes.data() + place, 4);
    return word;
}

std::string Word(std::size_t value) {
    const auto word = static_cast<std::uint32_t>(value);
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &word, 4);
    return bytes;
}

bool Parse(std::string_view content, bool isBinary, Parts& parts) {
    if (isBinary) {
        constexpr std::size_t kTextBegin = 20;
        const std::size_t length = WordAt(content, 12);
        if (content.size() < kTextBegin + length) return false;
        const std::size_t binaryBegin = kTextBegin + length + 8;
        if (content.size() > binaryBegin) parts.binary = content.substr(binaryBegin);
        content = content.substr(kTextBegin, length);
    }
    parts.json.Parse<kParseFlags>(content.data(), content.size());
    return !parts.json.HasParseError();
}

std::string Written(const Parts& parts, bool isBinary) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                      rapidjson::CrtAllocator, kWriteFlags>
        writer(buffer);
    parts.json.Accept(writer);
    std::string text(buffer.GetString(), buffer.GetSize());
    if (!isBinary) return text;
    text.append((4 - text.size() % 4) % 4, ' ');
    const std::string chunk = Word(parts.binary.size()) + std::string("BIN\0", 4) + parts.binary;
    return "glTF" + Word(2) + Word(12 + 8 + text.size() + chunk.size()) + Word(text.size()) +
           "JSON" + text + chunk;
}

/// Changes some bytes of the binary chunk.
void ChangeBinary(std::string& binary) {
    const std::size_t before = binary.size();
    binary.resize(before + 64);
    binary.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(binary.data()), before, binary.size()));
}

/// A changed glTF file; nothing if the content is not glTF.
std::optional<std::string> ChangedGltf(std::string_view content, bool isBinary, unsigned seed) {
    Parts parts;
    if (!Parse(content, isBinary, parts)) return std::nullopt;
    if (isBinary && !parts.binary.empty() && seed % 3 == 0) {
        ChangeBinary(parts.binary);
        return Written(parts, isBinary);
    }
    JsonMutator mutator(seed, parts.json);
    for (unsigned i = 0; i <= seed % 4; ++i)
        mutator.change();
    return Written(parts, isBinary);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    std::uint8_t* const newline = std::find(data, data + size, '\n');
    if (newline == data + size) return LLVMFuzzerMutate(data, size, maxSize);
    const auto head = static_cast<std::size_t>(newline + 1 - data);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view extension = input.substr(0, head - 1);
    if ((extension == "glb" || extension == "gltf") && seed % 16 != 0) {
        const auto changed = ChangedGltf(input.substr(head), extension == "glb", seed / 16);
        if (changed && changed->size() <= maxSize - head) {
            std::memcpy(data + head, changed->data(), changed->size());
            return head + changed->size();
        }
    }
    return head + LLVMFuzzerMutate(data + head, size - head, maxSize - head);
}
