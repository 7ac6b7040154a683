#include "Geometry.h"

#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "TinyGltf.h"

#include "Accessors.h"
#include "Document.h"
#include "GltfError.h"
#include "Topology.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

// Points and indices have 32-bit numbers in the attributes, and so have their coordinates.
constexpr std::size_t kMaxPoints = std::numeric_limits<std::int32_t>::max() / 4;

class PrimitiveReader {
public:
    PrimitiveReader(const Document& document, const tinygltf::Primitive& primitive)
        : document(document), primitive(primitive) {}

    ContentShape read();

private:
    std::optional<AccessorFloats> attribute(const std::string& name) const;
    std::vector<std::uint32_t> readIndices() const;
    void addTopology(ContentShape& shape, GroupBuilder& geometry) const;
    GroupAttribute arbitraryAttributes() const;

    const Document& document;
    const tinygltf::Primitive& primitive;
    std::size_t numberOfPoints = 0;
};

GroupAttribute PerPoint(const char* inputType, const FloatAttribute& value) {
    GroupBuilder entry;
    entry.set("scope", StringAttribute("point"));
    entry.set("inputType", StringAttribute(inputType));
    entry.set("value", value);
    return entry.build();
}

// The second coordinate of the file grows downwards.
FloatAttribute TextureCoordinates(AccessorFloats source) {
    for (std::size_t i = 1; i < source.values.size(); i += 2)
        source.values[i] = 1.0f - source.values[i];
    return FloatAttribute(source.values, 2);
}

// Adds an alpha of 1 where the file has none.
FloatAttribute Colors(const AccessorFloats& source) {
    if (source.width == 4) return FloatAttribute(source.values, 4);
    std::vector<float> colors;
    colors.reserve(source.count() * 4);
    for (std::size_t i = 0; i < source.count(); ++i) {
        colors.insert(colors.end(), source.at(i), source.at(i) + 3);
        colors.push_back(1.0f);
    }
    return FloatAttribute(colors, 4);
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

std::optional<AccessorFloats> PrimitiveReader::attribute(const std::string& name) const {
    const auto found = primitive.attributes.find(name);
    if (found == primitive.attributes.end()) return std::nullopt;
    AccessorFloats values = ReadFloats(document, found->second);
    if (name != "POSITION" && values.count() != numberOfPoints)
        GltfError("attribute \"" + name + "\" has more or fewer elements than there are points");
    return values;
}

// The numbers of the points in the order of the primitive.
std::vector<std::uint32_t> PrimitiveReader::readIndices() const {
    if (primitive.indices < 0) {
        std::vector<std::uint32_t> all(numberOfPoints);
        std::iota(all.begin(), all.end(), 0u);
        return all;
    }
    std::vector<std::uint32_t> indices = ReadUnsigned(document, primitive.indices);
    for (const std::uint32_t index : indices)
        if (index >= numberOfPoints) GltfError("a face refers to a point that does not exist");
    return indices;
}

void PrimitiveReader::addTopology(ContentShape& shape, GroupBuilder& geometry) const {
    const auto mode = static_cast<PrimitiveMode>(primitive.mode);
    if (mode == PrimitiveMode::Points) {
        shape.type = "pointcloud";
        return;
    }
    const std::vector<std::int32_t> triangles = TrianglesOf(mode, readIndices());
    if (triangles.empty()) return;
    std::vector<std::int32_t> startIndex;
    for (std::size_t i = 0; i <= triangles.size(); i += 3)
        startIndex.push_back(static_cast<std::int32_t>(i));
    shape.type = "polymesh";
    GroupBuilder poly;
    poly.set("vertexList", IntAttribute(triangles, 1));
    poly.set("startIndex", IntAttribute(startIndex, 1));
    geometry.set("poly", poly.build());
}

GroupAttribute PrimitiveReader::arbitraryAttributes() const {
    GroupBuilder arbitrary;
    for (const auto& [name, accessor] : primitive.attributes) {
        if (const std::string st = NumberedName(name, "TEXCOORD_", "st"); !st.empty()) {
            const auto values = attribute(name);
            if (values->width != 2) GltfError("attribute \"" + name + "\" is not of pairs");
            arbitrary.set(st, PerPoint("point2", TextureCoordinates(*values)));
        }
        if (const std::string color = NumberedName(name, "COLOR_", "color"); !color.empty()) {
            const auto values = attribute(name);
            if (values->width != 3 && values->width != 4)
                GltfError("attribute \"" + name + "\" is not of colours");
            arbitrary.set(color, PerPoint("color4", Colors(*values)));
        }
    }
    return arbitrary.isEmpty() ? GroupAttribute() : arbitrary.build();
}

ContentShape PrimitiveReader::read() {
    ContentShape shape;
    const auto points = attribute("POSITION");
    if (!points || points->count() == 0) return shape;
    if (points->width != 3) GltfError("the points of a primitive are not of three numbers");
    numberOfPoints = points->count();
    if (numberOfPoints > kMaxPoints) throw std::runtime_error("a mesh has too many points");

    GroupBuilder geometry;
    addTopology(shape, geometry);
    if (shape.type.empty()) return shape;
    for (std::size_t i = 0; i < numberOfPoints; ++i)
        shape.bound.add(points->at(i)[0], points->at(i)[1], points->at(i)[2]);
    geometry.set("point.P", FloatAttribute(points->values, 3));
    if (const auto normals = attribute("NORMAL")) {
        if (normals->width != 3) GltfError("attribute \"NORMAL\" is not of three numbers");
        geometry.set("point.N", FloatAttribute(normals->values, 3));
    }
    geometry.set("arbitrary", arbitraryAttributes());
    shape.geometry = geometry.build();
    return shape;
}

} // namespace

ContentShape ReadPrimitive(const Document& document, const tinygltf::Primitive& primitive) {
    return PrimitiveReader(document, primitive).read();
}

} // namespace TellarSceneImport
