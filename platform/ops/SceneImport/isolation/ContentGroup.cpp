#include "ContentGroup.h"

#include <string>
#include <vector>

#include "Columns.h"
#include "DeviceColumns.h"
#include "ImageGroup.h"
#include "NodeColumns.h"
#include "ShapeColumns.h"

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;

namespace {

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

std::vector<ContentMaterial> MaterialsIn(const ColumnReader& columns) {
    const std::vector<std::string> names = columns.texts("name");
    const std::vector<GroupAttribute> networks = columns.groups("network");
    RequireSize(networks, names.size(), "network");
    std::vector<ContentMaterial> materials;
    for (std::size_t i = 0; i < names.size(); ++i)
        materials.push_back({names[i], networks[i]});
    return materials;
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
    content.materials = MaterialsIn(ColumnReader(group, "materials"));
    ReadShapes(ColumnReader(group, "shapes"), content);
    content.cameras = CamerasIn(ColumnReader(group, "cameras"));
    content.lights = LightsIn(ColumnReader(group, "lights"));
    ReadNodes(ColumnReader(group, "nodes"), content);
    content.images = ImagesFrom(GroupAttribute(group.getChildByName("images")));
    return content;
}

} // namespace TellarSceneImport
