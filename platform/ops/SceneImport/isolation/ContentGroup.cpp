#include "ContentGroup.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "ImageGroup.h"
#include "SampledMotion.h"

namespace TellarSceneImport {

using namespace OxAttribute;

namespace {

// Each list of a SceneContent is a group of columns: arrays with one value, or a fixed number of
// values, for each item. Lists within items are joined to one array, with the end of each item's
// part in a second one.

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

class ColumnWriter {
public:
    void add(std::string_view name, const std::vector<int>& values) {
        group.set(name, IntAttribute(values.data(), static_cast<std::int64_t>(values.size()), 1));
    }
    void add(std::string_view name, const std::vector<double>& values) {
        group.set(name,
                  DoubleAttribute(values.data(), static_cast<std::int64_t>(values.size()), 1));
    }
    void add(std::string_view name, const std::vector<std::string>& values) {
        group.set(name, StringAttribute(values, 1));
    }
    void add(std::string_view name, const std::vector<GroupAttribute>& values) {
        GroupBuilder children(BuilderModeStrict);
        for (std::size_t i = 0; i < values.size(); ++i)
            children.set(std::to_string(i),
                         values[i].isValid() ? values[i] : GroupAttribute(false));
        group.set(name, children.isEmpty() ? GroupAttribute(false) : children.build());
    }
    void add(std::string_view name, const GroupAttribute& value) { group.set(name, value); }
    GroupAttribute build() { return group.build(); }

private:
    GroupBuilder group{BuilderModeStrict};
};

[[noreturn]] void Refuse(std::string_view column) {
    throw std::runtime_error("the scene reader sent a wrong \"" + std::string(column) + '"');
}

class ColumnReader {
public:
    ColumnReader(const GroupAttribute& parent, std::string_view name)
        : group(parent.getChildByName(name)) {
        if (!group.isValid()) Refuse(name);
    }

    std::vector<int> ints(std::string_view name) const {
        return values<int>(IntAttribute(group.getChildByName(name)), name);
    }
    std::vector<double> doubles(std::string_view name) const {
        return values<double>(DoubleAttribute(group.getChildByName(name)), name);
    }
    std::vector<std::string> texts(std::string_view name) const {
        return values<std::string>(StringAttribute(group.getChildByName(name)), name);
    }
    GroupAttribute child(std::string_view name) const {
        const GroupAttribute found(group.getChildByName(name));
        if (!found.isValid()) Refuse(name);
        return found;
    }
    std::vector<GroupAttribute> groups(std::string_view name) const {
        const GroupAttribute parent = child(name);
        std::vector<GroupAttribute> found;
        for (std::int64_t i = 0; i < parent.getNumberOfChildren(); ++i) {
            found.emplace_back(parent.getChildByIndex(i));
            if (!found.back().isValid()) Refuse(name);
        }
        return found;
    }

private:
    template <typename Value, typename Source>
    static std::vector<Value> values(const Source& attribute, std::string_view name) {
        if (!attribute.isValid()) Refuse(name);
        const auto sample = attribute.getNearestSample(0.0f);
        std::vector<Value> copied;
        copied.reserve(sample.size());
        for (const auto& value : sample)
            copied.emplace_back(value);
        return copied;
    }

    GroupAttribute group;
};

template <typename Column>
void RequireSize(const Column& column, std::size_t size, std::string_view name) {
    if (column.size() != size) Refuse(name);
}

void RequireIndex(int index, std::size_t size, std::string_view name) {
    if (index < 0 || static_cast<std::size_t>(index) >= size) Refuse(name);
}

/// The part of a joined list that belongs to item `i`.
std::pair<std::size_t, std::size_t> PartOf(const std::vector<int>& ends, std::size_t i,
                                           std::size_t total, std::string_view name) {
    const int begin = i == 0 ? 0 : ends[i - 1];
    if (begin < 0 || ends[i] < begin || static_cast<std::size_t>(ends[i]) > total) Refuse(name);
    return {begin, ends[i]};
}

template <std::size_t Size, typename Number>
void Append(std::vector<double>& column, const std::array<Number, Size>& values) {
    column.insert(column.end(), values.begin(), values.end());
}

/// Takes numbers from the front of an item's part of a column.
class NumberCursor {
public:
    explicit NumberCursor(const double* next) : next(next) {}
    template <std::size_t Size, typename Number>
    void take(std::array<Number, Size>& values) {
        for (Number& value : values)
            take(value);
    }
    template <typename Number>
    void take(Number& value) {
        value = static_cast<Number>(*next++);
    }

private:
    const double* next;
};

// Nodes.

GroupAttribute NodeColumns(const std::vector<ContentNode>& nodes) {
    std::vector<std::string> names;
    std::vector<std::string> deviceNames;
    std::vector<int> parents, shapes, shapeEnds, devices, deviceEnds, movingNodes;
    std::vector<double> matrices;
    std::vector<GroupAttribute> motions;
    for (const ContentNode& node : nodes) {
        names.push_back(node.name);
        parents.push_back(static_cast<int>(node.parent));
        Append(matrices, node.matrix);
        shapes.insert(shapes.end(), node.shapes.begin(), node.shapes.end());
        shapeEnds.push_back(static_cast<int>(shapes.size()));
        for (const ContentDevice& device : node.devices) {
            devices.push_back(static_cast<int>(device.kind));
            devices.push_back(static_cast<int>(device.index));
            deviceNames.push_back(device.name);
        }
        deviceEnds.push_back(static_cast<int>(deviceNames.size()));
        if (!node.motion) continue;
        movingNodes.push_back(static_cast<int>(names.size() - 1));
        motions.push_back(SampledMotion::SamplesOf(*node.motion));
    }
    ColumnWriter columns;
    columns.add("name", names);
    columns.add("parent", parents);
    columns.add("matrix", matrices);
    columns.add("shape", shapes);
    columns.add("shapeEnd", shapeEnds);
    columns.add("device", devices);
    columns.add("deviceName", deviceNames);
    columns.add("deviceEnd", deviceEnds);
    columns.add("moving", movingNodes);
    columns.add("motion", motions);
    return columns.build();
}

void ReadShapesOfNodes(const ColumnReader& columns, SceneContent& content) {
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

ContentDevice ReadDevice(int kind, int index, std::string name, const SceneContent& content) {
    const bool isCamera = kind == static_cast<int>(ContentDevice::Kind::Camera);
    if (!isCamera && kind != static_cast<int>(ContentDevice::Kind::Light)) Refuse("device");
    RequireIndex(index, isCamera ? content.cameras.size() : content.lights.size(), "device");
    return {isCamera ? ContentDevice::Kind::Camera : ContentDevice::Kind::Light,
            static_cast<std::uint32_t>(index), std::move(name)};
}

void ReadDevicesOfNodes(const ColumnReader& columns, SceneContent& content) {
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

/// `items` are nodes or shapes.
template <typename Items>
void ReadMotions(const ColumnReader& columns, Items& items) {
    const std::vector<int> moving = columns.ints("moving");
    const std::vector<GroupAttribute> motions = columns.groups("motion");
    RequireSize(motions, moving.size(), "motion");
    for (std::size_t i = 0; i < moving.size(); ++i) {
        RequireIndex(moving[i], items.size(), "moving");
        items[static_cast<std::size_t>(moving[i])].motion =
            std::make_shared<SampledMotion>(motions[i]);
    }
}

/// The other lists of the content have been read.
void ReadNodes(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<int> parents = columns.ints("parent");
    const std::vector<double> matrices = columns.doubles("matrix");
    if (names.empty()) Refuse("name");
    RequireSize(parents, names.size(), "parent");
    RequireSize(matrices, names.size() * 16, "matrix");
    content.nodes.resize(names.size());
    NumberCursor cursor(matrices.data());
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) RequireIndex(parents[i], i, "parent");
        content.nodes[i].name = names[i];
        content.nodes[i].parent = i > 0 ? static_cast<std::uint32_t>(parents[i]) : 0;
        cursor.take(content.nodes[i].matrix);
    }
    ReadShapesOfNodes(columns, content);
    ReadDevicesOfNodes(columns, content);
    ReadMotions(columns, content.nodes);
}

// Shapes.

std::array<double, 6> EdgesOf(const Box& box) {
    std::array<double, 6> edges;
    edges.fill(kNone);
    const DoubleAttribute bound = box.attribute();
    if (bound.isValid()) {
        const auto sample = bound.getNearestSample(0.0f);
        std::copy(sample.begin(), sample.end(), edges.begin());
    }
    return edges;
}

/// Numbers that are not finite leave a box empty.
Box BoxOf(const std::array<double, 6>& edges) {
    Box box;
    box.add(edges[0], edges[2], edges[4]);
    if (!box.isEmpty()) box.add(edges[1], edges[3], edges[5]);
    return box;
}

GroupAttribute ShapeColumns(const std::vector<ContentShape>& shapes) {
    std::vector<std::string> names, types;
    std::vector<double> bounds;
    std::vector<int> materials, movingShapes;
    std::vector<GroupAttribute> geometries, motions;
    for (const ContentShape& shape : shapes) {
        names.push_back(shape.name);
        types.push_back(shape.type);
        Append(bounds, EdgesOf(shape.bound));
        materials.push_back(shape.material);
        geometries.push_back(shape.geometry);
        if (!shape.motion) continue;
        movingShapes.push_back(static_cast<int>(names.size() - 1));
        motions.push_back(SampledMotion::SamplesOf(*shape.motion));
    }
    ColumnWriter columns;
    columns.add("moving", movingShapes);
    columns.add("motion", motions);
    columns.add("name", names);
    columns.add("type", types);
    columns.add("bound", bounds);
    columns.add("material", materials);
    columns.add("geometry", geometries);
    return columns.build();
}

/// The materials of the content have been read.
void ReadShapes(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<std::string> types = columns.texts("type");
    const std::vector<double> bounds = columns.doubles("bound");
    const std::vector<int> materials = columns.ints("material");
    const std::vector<GroupAttribute> geometries = columns.groups("geometry");
    RequireSize(types, names.size(), "type");
    RequireSize(bounds, names.size() * 6, "bound");
    RequireSize(materials, names.size(), "material");
    RequireSize(geometries, names.size(), "geometry");
    NumberCursor cursor(bounds.data());
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::array<double, 6> edges{};
        cursor.take(edges);
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

// Materials, cameras and lights.

GroupAttribute MaterialColumns(const std::vector<ContentMaterial>& materials) {
    std::vector<std::string> names;
    std::vector<GroupAttribute> networks;
    for (const ContentMaterial& material : materials) {
        names.push_back(material.name);
        networks.push_back(material.network);
    }
    ColumnWriter columns;
    columns.add("name", names);
    columns.add("network", networks);
    return columns.build();
}

void ReadMaterials(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<GroupAttribute> networks = columns.groups("network");
    RequireSize(networks, names.size(), "network");
    for (std::size_t i = 0; i < names.size(); ++i) {
        ContentMaterial& material = content.materials.emplace_back();
        material.name = names[i];
        material.network = networks[i];
    }
}

constexpr std::size_t kCameraNumbers = 5 + 16;

GroupAttribute CameraColumns(const std::vector<ImportedCamera>& cameras) {
    std::vector<double> numbers;
    for (const ImportedCamera& camera : cameras) {
        Append(numbers, std::array<double, 5>{camera.fieldOfView, camera.nearClip, camera.farClip,
                                              camera.aspect, camera.orthographicWidth});
        Append(numbers, camera.aim);
    }
    ColumnWriter columns;
    columns.add("number", numbers);
    return columns.build();
}

void ReadCameras(const ColumnReader& columns, SceneContent& content) {
    const std::vector<double> numbers = columns.doubles("number");
    RequireSize(numbers, numbers.size() / kCameraNumbers * kCameraNumbers, "number");
    NumberCursor cursor(numbers.data());
    for (std::size_t i = 0; i < numbers.size() / kCameraNumbers; ++i) {
        ImportedCamera& camera = content.cameras.emplace_back();
        cursor.take(camera.fieldOfView);
        cursor.take(camera.nearClip);
        cursor.take(camera.farClip);
        cursor.take(camera.aspect);
        cursor.take(camera.orthographicWidth);
        cursor.take(camera.aim);
    }
}

constexpr std::size_t kLightNumbers = 3 + 1 + 3 + 2 + 2 + 1 + 16;

GroupAttribute LightColumns(const std::vector<ImportedLight>& lights) {
    std::vector<std::string> types;
    std::vector<double> numbers;
    for (const ImportedLight& light : lights) {
        types.push_back(light.type);
        Append(numbers, light.color);
        numbers.push_back(light.intensity);
        Append(numbers, light.decay);
        numbers.push_back(light.coneInner);
        numbers.push_back(light.coneOuter);
        Append(numbers, light.size);
        numbers.push_back(light.range);
        Append(numbers, light.aim);
    }
    ColumnWriter columns;
    columns.add("type", types);
    columns.add("number", numbers);
    return columns.build();
}

void ReadLights(const ColumnReader& columns, SceneContent& content) {
    const std::vector<std::string> types = columns.texts("type");
    const std::vector<double> numbers = columns.doubles("number");
    RequireSize(numbers, types.size() * kLightNumbers, "number");
    NumberCursor cursor(numbers.data());
    for (const std::string& type : types) {
        ImportedLight& light = content.lights.emplace_back();
        light.type = type;
        cursor.take(light.color);
        cursor.take(light.intensity);
        cursor.take(light.decay);
        cursor.take(light.coneInner);
        cursor.take(light.coneOuter);
        cursor.take(light.size);
        cursor.take(light.range);
        cursor.take(light.aim);
    }
}

} // namespace

GroupAttribute ToGroup(const SceneContent& content) {
    ColumnWriter lists;
    lists.add("nodes", NodeColumns(content.nodes));
    lists.add("shapes", ShapeColumns(content.shapes));
    lists.add("materials", MaterialColumns(content.materials));
    lists.add("cameras", CameraColumns(content.cameras));
    lists.add("lights", LightColumns(content.lights));
    lists.add("images", ToGroup(content.images));
    return lists.build();
}

SceneContent FromGroup(const GroupAttribute& group) {
    SceneContent content;
    ReadMaterials(ColumnReader(group, "materials"), content);
    ReadShapes(ColumnReader(group, "shapes"), content);
    ReadCameras(ColumnReader(group, "cameras"), content);
    ReadLights(ColumnReader(group, "lights"), content);
    ReadNodes(ColumnReader(group, "nodes"), content);
    content.images = ImagesFrom(GroupAttribute(group.getChildByName("images")));
    return content;
}

} // namespace TellarSceneImport
