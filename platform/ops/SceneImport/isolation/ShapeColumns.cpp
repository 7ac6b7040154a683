#include "ShapeColumns.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <tuple>

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;

namespace {

using Edges = std::array<double, 6>;

/// The edges of a box; NaN for an empty one.
Edges EdgesOf(const Box& box) {
    Edges edges;
    edges.fill(std::numeric_limits<double>::quiet_NaN());
    const OxAttribute::DoubleAttribute bound = box.attribute();
    if (bound.isValid()) {
        const auto sample = bound.getNearestSample(0.0f);
        std::copy(sample.begin(), sample.end(), edges.begin());
    }
    return edges;
}

Box BoxOf(const Edges& edges) {
    Box box;
    box.add(edges[0], edges[2], edges[4]);
    if (!box.isEmpty()) box.add(edges[1], edges[3], edges[5]);
    return box;
}

} // namespace

GroupAttribute ShapeColumns(const std::vector<ContentShape>& shapes) {
    std::vector<std::string> names, types;
    std::vector<double> bounds;
    std::vector<int> materials;
    std::vector<GroupAttribute> geometries;
    NumberSink sink(bounds);
    for (const ContentShape& shape : shapes) {
        names.push_back(shape.name);
        types.push_back(shape.type);
        sink(EdgesOf(shape.bound));
        materials.push_back(shape.material);
        geometries.push_back(shape.geometry);
    }
    ColumnWriter columns;
    columns.add("name", names);
    columns.add("type", types);
    columns.add("bound", bounds);
    columns.add("material", materials);
    columns.add("geometry", geometries);
    AddMotions(shapes, columns);
    return columns.build();
}

void ReadShapes(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<std::string> types = columns.texts("type");
    const std::vector<double> bounds = columns.doubles("bound");
    const std::vector<int> materials = columns.ints("material");
    const std::vector<GroupAttribute> geometries = columns.groups("geometry");
    RequireSize(types, names.size(), "type");
    RequireSize(bounds, names.size() * std::tuple_size_v<Edges>, "bound");
    RequireSize(materials, names.size(), "material");
    RequireSize(geometries, names.size(), "geometry");
    NumberSource source(bounds);
    for (std::size_t i = 0; i < names.size(); ++i) {
        Edges edges{};
        source(edges);
        if (materials[i] != -1) RequireIndex(materials[i], content.materials.size(), "material");
        ContentShape& shape = content.shapes.emplace_back();
        shape.name = names[i];
        shape.type = types[i];
        shape.geometry = geometries[i];
        shape.bound = BoxOf(edges);
        shape.material = materials[i];
    }
    ReadMotions(columns, content.shapes);
}

} // namespace TellarSceneImport
