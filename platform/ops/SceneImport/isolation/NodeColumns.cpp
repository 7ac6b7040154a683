#include "NodeColumns.h"

#include <cstdint>
#include <string>
#include <utility>

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;

namespace {

void AddShapes(const std::vector<ContentNode>& nodes, ColumnWriter& columns) {
    std::vector<int> shapes, ends;
    for (const ContentNode& node : nodes) {
        shapes.insert(shapes.end(), node.shapes.begin(), node.shapes.end());
        ends.push_back(static_cast<int>(shapes.size()));
    }
    columns.add("shape", shapes);
    columns.add("shapeEnd", ends);
}

void ReadShapes(const ColumnReader& columns, SceneContent& content) {
    const std::vector<int> shapes = columns.ints("shape");
    const std::vector<int> ends = columns.ints("shapeEnd");
    RequireSize(ends, content.nodes.size(), "shapeEnd");
    for (const int shape : shapes)
        RequireIndex(shape, content.shapes.size(), "shape");
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const auto [begin, end] = PartOf(ends, i, shapes.size(), "shapeEnd");
        content.nodes[i].shapes.assign(shapes.begin() + static_cast<std::ptrdiff_t>(begin),
                                       shapes.begin() + static_cast<std::ptrdiff_t>(end));
    }
}

// A device is two integers, its kind and its index, and a name.
void AddDevices(const std::vector<ContentNode>& nodes, ColumnWriter& columns) {
    std::vector<int> devices, ends;
    std::vector<std::string> names;
    for (const ContentNode& node : nodes) {
        for (const ContentDevice& device : node.devices) {
            devices.push_back(static_cast<int>(device.kind));
            devices.push_back(static_cast<int>(device.index));
            names.push_back(device.name);
        }
        ends.push_back(static_cast<int>(names.size()));
    }
    columns.add("device", devices);
    columns.add("deviceName", names);
    columns.add("deviceEnd", ends);
}

ContentDevice ReadDevice(int kind, int index, std::string name, const SceneContent& content) {
    const bool isCamera = kind == static_cast<int>(ContentDevice::Kind::Camera);
    if (!isCamera && kind != static_cast<int>(ContentDevice::Kind::Light)) RefuseColumn("device");
    RequireIndex(index, isCamera ? content.cameras.size() : content.lights.size(), "device");
    return {isCamera ? ContentDevice::Kind::Camera : ContentDevice::Kind::Light,
            static_cast<std::uint32_t>(index), std::move(name)};
}

void ReadDevices(const ColumnReader& columns, SceneContent& content) {
    const std::vector<int> devices = columns.ints("device");
    const std::vector<std::string> names = columns.texts("deviceName");
    const std::vector<int> ends = columns.ints("deviceEnd");
    RequireSize(devices, names.size() * 2, "device");
    RequireSize(ends, content.nodes.size(), "deviceEnd");
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const auto [begin, end] = PartOf(ends, i, names.size(), "deviceEnd");
        for (std::size_t j = begin; j < end; ++j)
            content.nodes[i].devices.push_back(
                ReadDevice(devices[2 * j], devices[2 * j + 1], names[j], content));
    }
}

} // namespace

GroupAttribute NodeColumns(const std::vector<ContentNode>& nodes) {
    std::vector<std::string> names;
    std::vector<int> parents;
    std::vector<double> matrices;
    NumberSink sink(matrices);
    for (const ContentNode& node : nodes) {
        names.push_back(node.name);
        parents.push_back(static_cast<int>(node.parent));
        sink(node.matrix);
    }
    ColumnWriter columns;
    columns.add("name", names);
    columns.add("parent", parents);
    columns.add("matrix", matrices);
    AddShapes(nodes, columns);
    AddDevices(nodes, columns);
    AddMotions(nodes, columns);
    return columns.build();
}

void ReadNodes(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<int> parents = columns.ints("parent");
    const std::vector<double> matrices = columns.doubles("matrix");
    if (names.empty()) RefuseColumn("name");
    RequireSize(parents, names.size(), "parent");
    RequireSize(matrices, names.size() * 16, "matrix");
    NumberSource source(matrices);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) RequireIndex(parents[i], i, "parent");
        ContentNode& node = content.nodes.emplace_back();
        node.name = names[i];
        node.parent = i > 0 ? static_cast<std::uint32_t>(parents[i]) : 0;
        source(node.matrix);
    }
    ReadShapes(columns, content);
    ReadDevices(columns, content);
    ReadMotions(columns, content.nodes);
}

} // namespace TellarSceneImport
