#include "Geometry.h"

#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "Document.h"
#include "GltfError.h"
#include "PointData.h"
#include "TinyGltf.h"
#include "Topology.h"
#include "model/PointValues.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;

namespace {

class PrimitiveReader {
public:
    PrimitiveReader(const Document& document, const tinygltf::Primitive& primitive)
        : document(document), primitive(primitive) {}

    ContentShape read();

private:
    std::vector<std::uint32_t> readIndices() const;
    void makePoints();
    void makeCurves();
    void makeShape();
    void makeMesh();
    void joinPoints(std::vector<std::uint32_t>& indices);
    void usePoints(std::vector<std::uint32_t> elements);
    void addPointData();

    const Document& document;
    const tinygltf::Primitive& primitive;
    PointData data;
    ContentShape shape;
    GroupBuilder geometry;
};

// The numbers of the points in the order of the primitive.
std::vector<std::uint32_t> PrimitiveReader::readIndices() const {
    if (primitive.indices < 0) {
        std::vector<std::uint32_t> all(data.count);
        std::iota(all.begin(), all.end(), 0u);
        return all;
    }
    std::vector<std::uint32_t> indices = ReadUnsigned(document, primitive.indices);
    for (const std::uint32_t index : indices)
        if (index >= data.count) GltfError("a face refers to a point that does not exist");
    return indices;
}

void PrimitiveReader::usePoints(std::vector<std::uint32_t> elements) {
    data.select(elements);
    shape.sourcePoints = std::move(elements);
}

void PrimitiveReader::makePoints() {
    if (primitive.indices >= 0) usePoints(readIndices());
    if (data.count > 0) shape.type = "pointcloud";
}

void PrimitiveReader::makeCurves() {
    Polylines lines = PolylinesOf(static_cast<PrimitiveMode>(primitive.mode), readIndices());
    if (lines.counts.empty()) return;
    shape.type = "curves";
    geometry.set("basis", StringAttribute("linear"));
    document.memory().take(lines.points.size(), sizeof(std::uint32_t));
    geometry.set("numVertices", IntAttribute(lines.counts, 1));
    if (lines.areClosed) geometry.set("closed", IntAttribute(1));
    usePoints(std::move(lines.points));
}

// Joins equal points and removes unused ones; keeps the order if there are neither. The points of a
// deformed shape are kept, because equal points may move apart.
void PrimitiveReader::joinPoints(std::vector<std::uint32_t>& indices) {
    const bool isDeformed =
        !primitive.targets.empty() || primitive.attributes.count("JOINTS_0") > 0;
    if (isDeformed) return;
    std::vector<std::uint32_t> joined = indices;
    std::vector<std::uint32_t> left = JoinEqualPoints(data, joined);
    if (left.empty() || left.size() == data.count) return;
    indices = std::move(joined);
    usePoints(std::move(left));
}

void PrimitiveReader::makeMesh() {
    std::vector<std::uint32_t> indices =
        TrianglesOf(static_cast<PrimitiveMode>(primitive.mode), readIndices());
    if (indices.empty()) return;
    shape.type = "polymesh";
    joinPoints(indices);
    // Four values of 4 bytes per triangle: three corners and one face.
    document.memory().take(indices.size() / 3, 4 * sizeof(std::int32_t));
    std::vector<std::int32_t> startIndex;
    for (std::size_t i = 0; i <= indices.size(); i += 3)
        startIndex.push_back(static_cast<std::int32_t>(i));
    geometry.set("poly.vertexList",
                 IntAttribute(std::vector<std::int32_t>(indices.begin(), indices.end()), 1));
    geometry.set("poly.startIndex", IntAttribute(startIndex, 1));
}

void PrimitiveReader::addPointData() {
    document.memory().take(data.numberCount(), sizeof(float));
    shape.bound = BoundOf(data.points.values);
    geometry.set("point.P", FloatAttribute(data.points.values, 3));
    if (!data.normals.values.empty())
        geometry.set("point.N", FloatAttribute(data.normals.values, 3));
    for (const PointData::Values& values : data.arbitrary)
        geometry.set("arbitrary." + values.name,
                     ArbitraryValues("point", values.inputType.c_str(),
                                     FloatAttribute(values.data.values, values.data.width)));
}

// Sets the type and values of the shape. It keeps no type if the primitive has nothing to show.
void PrimitiveReader::makeShape() {
    switch (static_cast<PrimitiveMode>(primitive.mode)) {
    case PrimitiveMode::Points:
        return makePoints();
    case PrimitiveMode::Lines:
    case PrimitiveMode::LineLoop:
    case PrimitiveMode::LineStrip:
        return makeCurves();
    default:
        return makeMesh();
    }
}

ContentShape PrimitiveReader::read() {
    data = ReadPointData(document, primitive);
    if (data.count == 0) return shape;
    makeShape();
    if (shape.type.empty()) return shape;
    addPointData();
    shape.geometry = geometry.build();
    return std::move(shape);
}

} // namespace

ContentShape ReadPrimitive(const Document& document, const tinygltf::Primitive& primitive) {
    return PrimitiveReader(document, primitive).read();
}

} // namespace TellarSceneImport
