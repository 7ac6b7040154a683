#include "PointData.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <meshoptimizer.h>

#include "Document.h"
#include "GltfError.h"
#include "TinyGltf.h"

namespace TellarSceneImport {

namespace {

// Points and indices have 32-bit numbers in the attributes, and so have their coordinates.
constexpr std::size_t kMaxPoints = std::numeric_limits<std::int32_t>::max() / 4;

// The second coordinate of the file grows downwards.
void TurnUp(AccessorFloats& coordinates) {
    for (std::size_t i = 1; i < coordinates.values.size(); i += 2)
        coordinates.values[i] = 1.0f - coordinates.values[i];
}

void AddAlpha(AccessorFloats& colors) {
    if (colors.width == 4) return;
    std::vector<float> values;
    values.reserve(colors.count() * 4);
    for (std::size_t i = 0; i < colors.count(); ++i) {
        values.insert(values.end(), colors.at(i), colors.at(i) + 3);
        values.push_back(1.0f);
    }
    colors = {std::move(values), 4};
}

// Returns "st1" for "TEXCOORD_1" and the prefix "TEXCOORD_", for example; empty for other names.
std::string NumberedName(const std::string& attribute, const std::string& prefix,
                         const char* name) {
    if (attribute.compare(0, prefix.size(), prefix) != 0) return "";
    const std::string number = attribute.substr(prefix.size());
    const bool isNumber = !number.empty() && number.size() < 4 &&
                          number.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber) return "";
    return number == "0" ? name : name + number;
}

AccessorFloats ReadAttribute(const Document& document, const std::string& name, int accessor,
                             std::size_t count) {
    if (CountOf(document, accessor) != count)
        GltfError("attribute \"" + name + "\" has more or fewer elements than there are points");
    return ReadFloats(document, accessor);
}

void RequireWidth(const AccessorFloats& values, const std::string& name, int width, int orWidth) {
    if (values.width != width && values.width != orWidth)
        GltfError("attribute \"" + name + "\" has the wrong type");
}

void Select(AccessorFloats& data, const std::vector<std::uint32_t>& elements) {
    std::vector<float> values;
    values.reserve(elements.size() * data.width);
    if (!data.values.empty())
        for (const std::uint32_t element : elements)
            values.insert(values.end(), data.at(element), data.at(element) + data.width);
    data.values = std::move(values);
}

// Whether an attribute is application-specific: then its name begins with "_".
bool IsCustom(const std::string& attribute) {
    return attribute.size() > 1 && attribute[0] == '_';
}

// Replaces dots, which would separate groups.
std::string CustomName(std::string attribute) {
    std::replace(attribute.begin(), attribute.end(), '.', '_');
    return attribute;
}

const char* CustomType(int width) {
    switch (width) {
    case 1:
        return "float";
    case 2:
        return "vector2";
    case 3:
        return "vector3";
    case 4:
        return "vector4";
    default:
        return width == 9 ? "matrix9" : "matrix16";
    }
}

void AddArbitrary(const std::string& attribute, AccessorFloats values, PointData& data) {
    const std::string st = NumberedName(attribute, "TEXCOORD_", "st");
    const std::string color = NumberedName(attribute, "COLOR_", "color");
    if (!st.empty()) {
        RequireWidth(values, attribute, 2, 2);
        TurnUp(values);
        data.arbitrary.push_back({st, "point2", std::move(values)});
    } else if (!color.empty()) {
        RequireWidth(values, attribute, 3, 4);
        AddAlpha(values);
        data.arbitrary.push_back({color, "color4", std::move(values)});
    } else if (attribute == "TANGENT") {
        RequireWidth(values, attribute, 4, 4);
        data.arbitrary.push_back({"tangent", "vector4", std::move(values)});
    } else if (IsCustom(attribute)) {
        const char* const type = CustomType(values.width);
        data.arbitrary.push_back({CustomName(attribute), type, std::move(values)});
    }
}

bool IsArbitrary(const std::string& attribute) {
    return attribute == "TANGENT" || IsCustom(attribute) ||
           !NumberedName(attribute, "TEXCOORD_", "st").empty() ||
           !NumberedName(attribute, "COLOR_", "color").empty();
}

meshopt_Stream StreamOf(const AccessorFloats& data) {
    const std::size_t size = sizeof(float) * data.width;
    return {data.values.data(), size, size};
}

// The streams of all values of the points.
std::vector<meshopt_Stream> StreamsOf(const PointData& data) {
    std::vector<meshopt_Stream> streams = {StreamOf(data.points)};
    if (!data.normals.values.empty()) streams.push_back(StreamOf(data.normals));
    for (const PointData::Values& values : data.arbitrary)
        streams.push_back(StreamOf(values.data));
    return streams;
}

// For each of `count` new numbers, the first point that has it.
std::vector<std::uint32_t> FirstOfEach(const std::vector<std::uint32_t>& newNumbers,
                                       std::size_t count) {
    constexpr std::uint32_t kUnused = ~std::uint32_t(0);
    std::vector<std::uint32_t> first(count);
    std::vector<bool> isTaken(count);
    for (std::uint32_t point = 0; point < newNumbers.size(); ++point) {
        const std::uint32_t number = newNumbers[point];
        if (number == kUnused || isTaken[number]) continue;
        isTaken[number] = true;
        first[number] = point;
    }
    return first;
}

} // namespace

std::size_t PointData::numberCount() const {
    std::size_t numbers = points.values.size() + normals.values.size();
    for (const Values& values : arbitrary)
        numbers += values.data.values.size();
    return numbers;
}

void PointData::select(const std::vector<std::uint32_t>& elements) {
    count = elements.size();
    Select(points, elements);
    Select(normals, elements);
    for (Values& values : arbitrary)
        Select(values.data, elements);
}

PointData ReadPointData(const Document& document, const tinygltf::Primitive& primitive) {
    PointData data;
    const auto points = primitive.attributes.find("POSITION");
    if (points == primitive.attributes.end()) return data;
    data.count = CountOf(document, points->second);
    if (data.count > kMaxPoints) throw std::runtime_error("a mesh has too many points");
    for (const auto& [name, accessor] : primitive.attributes) {
        if (name == "POSITION")
            RequireWidth(data.points = ReadFloats(document, accessor), name, 3, 3);
        else if (name == "NORMAL")
            RequireWidth(data.normals = ReadAttribute(document, name, accessor, data.count), name,
                         3, 3);
        else if (IsArbitrary(name))
            AddArbitrary(name, ReadAttribute(document, name, accessor, data.count), data);
    }
    return data;
}

std::vector<std::uint32_t> JoinEqualPoints(const PointData& data,
                                           std::vector<std::uint32_t>& indices) {
    const std::vector<meshopt_Stream> streams = StreamsOf(data);
    if (indices.empty() || streams.size() > 16) return {}; // 16 are the most that it takes
    std::vector<std::uint32_t> remap(data.count);
    const std::size_t count = meshopt_generateVertexRemapMulti(
        remap.data(), indices.data(), indices.size(), data.count, streams.data(), streams.size());
    for (std::uint32_t& index : indices)
        index = remap[index];
    return FirstOfEach(remap, count);
}

} // namespace TellarSceneImport
