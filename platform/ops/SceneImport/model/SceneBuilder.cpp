#include "SceneBuilder.h"

#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "UniqueNames.h"

namespace TellarSceneImport {

using OxAttribute::DoubleAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;

namespace {

// A location under construction. It is a node, which may be a camera or light at the same time, a
// shape, or a camera or light that needs a location below its node.
struct Draft {
    std::string name;
    std::uint32_t parent = 0;
    const ContentNode* node = nullptr;
    const ContentShape* shape = nullptr;
    const ContentDevice* device = nullptr;
    std::vector<std::uint32_t> children;
    Box bound;
};

DoubleAttribute MatrixAttribute(const Matrix& matrix) {
    return DoubleAttribute(matrix.data(), 16, 16);
}

class SceneBuilder {
public:
    explicit SceneBuilder(SceneContent source) : content(std::move(source)) {}

    std::shared_ptr<const Scene> build();

private:
    void findChildren();
    void nameMaterials();
    void draftChildren(std::uint32_t parent);
    void draftShapes(std::uint32_t parent, UniqueNames& names);
    void draftDevices(std::uint32_t parent, UniqueNames& names);
    Draft& draft(std::uint32_t parent, std::string name);
    void findBounds();
    void draftAll();
    OxAttribute::GroupAttribute attrsOf(const Draft& draft) const;
    SceneNode finish(const Draft& draft) const;
    void setDevice(const ContentDevice& device, GroupBuilder& attrs) const;
    StringAttribute namesOfChildren(const Draft& draft) const;

    const std::vector<std::uint32_t>& childrenOf(const ContentNode& node) const;
    const Matrix& aimOf(const ContentDevice& device) const;
    bool canBeNode(const ContentDevice& device, const ContentNode& node) const;
    Matrix localMatrix(const Draft& draft) const;
    std::shared_ptr<const Motion> motionOf(const Draft& draft) const;
    OxAttribute::GroupAttribute xformOf(const Draft& draft) const;

    SceneContent content;
    std::vector<std::vector<std::uint32_t>> children; // children of each node
    std::vector<Draft> drafts;                        // parents first
};

void SceneBuilder::findChildren() {
    children.resize(content.nodes.size());
    for (std::uint32_t i = 1; i < content.nodes.size(); ++i)
        children[content.nodes[i].parent].push_back(i);
}

const std::vector<std::uint32_t>& SceneBuilder::childrenOf(const ContentNode& node) const {
    return children[&node - content.nodes.data()];
}

void SceneBuilder::nameMaterials() {
    UniqueNames names;
    for (ContentMaterial& material : content.materials)
        material.name = names.add(material.name, "material");
}

const Matrix& SceneBuilder::aimOf(const ContentDevice& device) const {
    return device.kind == ContentDevice::Kind::Camera ? content.cameras[device.index].aim
                                                      : content.lights[device.index].aim;
}

// The reference is valid until the next draft.
Draft& SceneBuilder::draft(std::uint32_t parent, std::string name) {
    drafts[parent].children.push_back(static_cast<std::uint32_t>(drafts.size()));
    Draft& child = drafts.emplace_back();
    child.name = std::move(name);
    child.parent = parent;
    return child;
}

void SceneBuilder::draftShapes(std::uint32_t parent, UniqueNames& names) {
    const std::string fallback = drafts[parent].name + "Shape";
    for (const std::uint32_t index : drafts[parent].node->shapes) {
        const ContentShape& shape = content.shapes[index];
        if (shape.type.empty()) continue;
        Draft& child = draft(parent, names.add(shape.name, fallback));
        child.shape = &shape;
        child.bound = shape.bound;
    }
}

// If a node became a camera or light that is turned relative to it, its children would turn too.
bool SceneBuilder::canBeNode(const ContentDevice& device, const ContentNode& node) const {
    const bool isLeaf = childrenOf(node).empty() && node.shapes.empty();
    return device.name.empty() &&
           (IsIdentity(aimOf(device)) || (isLeaf && node.devices.size() == 1));
}

void SceneBuilder::draftDevices(std::uint32_t parent, UniqueNames& names) {
    const ContentNode& node = *drafts[parent].node;
    for (const ContentDevice& device : node.devices) {
        if (!drafts[parent].device && canBeNode(device, node)) {
            drafts[parent].device = &device;
            continue;
        }
        const bool isCamera = device.kind == ContentDevice::Kind::Camera;
        const std::string fallback = drafts[parent].name + (isCamera ? "Camera" : "Light");
        draft(parent, names.add(device.name, fallback)).device = &device;
    }
}

void SceneBuilder::draftChildren(std::uint32_t parent) {
    UniqueNames names;
    for (const std::uint32_t index : childrenOf(*drafts[parent].node)) {
        const ContentNode& child = content.nodes[index];
        draft(parent, names.add(child.name, "node")).node = &child;
    }
    draftShapes(parent, names);
    draftDevices(parent, names);
}

// The matrix from the space of the location to that of its parent, without motion.
Matrix SceneBuilder::localMatrix(const Draft& draft) const {
    const Matrix& node = draft.node ? draft.node->matrix : kIdentity;
    return draft.device ? Multiply(aimOf(*draft.device), node) : node;
}

void SceneBuilder::findBounds() {
    for (std::size_t i = drafts.size() - 1; i > 0; --i)
        drafts[drafts[i].parent].bound.add(drafts[i].bound.transformed(localMatrix(drafts[i])));
}

std::shared_ptr<const Motion> SceneBuilder::motionOf(const Draft& draft) const {
    if (draft.node) return draft.node->motion;
    return draft.shape ? draft.shape->motion : nullptr;
}

// The last child of "xform" is applied first. A moving node needs "matrix" as a place for
// its motion.
OxAttribute::GroupAttribute SceneBuilder::xformOf(const Draft& draft) const {
    GroupBuilder xform;
    if (draft.node && (!IsIdentity(draft.node->matrix) || draft.node->motion))
        xform.set("matrix", MatrixAttribute(draft.node->matrix));
    if (draft.device && !IsIdentity(aimOf(*draft.device)))
        xform.set("matrixAim", MatrixAttribute(aimOf(*draft.device)));
    return xform.isEmpty() ? OxAttribute::GroupAttribute() : xform.build();
}

void SceneBuilder::setDevice(const ContentDevice& device, GroupBuilder& attrs) const {
    if (device.kind == ContentDevice::Kind::Camera) {
        attrs.set("type", StringAttribute("camera"));
        attrs.set("geometry", CameraGeometry(content.cameras[device.index]));
        return;
    }
    const ImportedLight& light = content.lights[device.index];
    attrs.set("type", StringAttribute("light"));
    attrs.set("light", LightParameters(light));
    attrs.set("material", LightNetwork(light));
}

StringAttribute SceneBuilder::namesOfChildren(const Draft& draft) const {
    std::vector<std::string_view> names;
    for (const std::uint32_t child : draft.children)
        names.push_back(drafts[child].name);
    if (names.empty()) return {};
    return {names.data(), static_cast<std::int64_t>(names.size()), 1};
}

OxAttribute::GroupAttribute SceneBuilder::attrsOf(const Draft& draft) const {
    GroupBuilder attrs;
    attrs.set("type", StringAttribute(draft.shape ? draft.shape->type : "group"));
    attrs.set("xform", xformOf(draft));
    attrs.set("bound", draft.bound.attribute());
    if (draft.shape) attrs.set("geometry", draft.shape->geometry);
    if (draft.device) setDevice(*draft.device, attrs);
    return attrs.build();
}

SceneNode SceneBuilder::finish(const Draft& draft) const {
    SceneNode node;
    node.name = draft.name;
    node.attrs = attrsOf(draft);
    node.childNames = namesOfChildren(draft);
    node.motion = motionOf(draft);
    if (draft.shape) node.material = draft.shape->material;
    return node;
}

void SceneBuilder::draftAll() {
    Draft& root = drafts.emplace_back();
    root.name = UniqueNames().add(content.nodes.front().name, "node");
    root.node = &content.nodes.front();
    for (std::uint32_t i = 0; i < drafts.size(); ++i)
        if (drafts[i].node) draftChildren(i);
}

std::shared_ptr<const Scene> SceneBuilder::build() {
    findChildren();
    nameMaterials();
    draftAll();
    findBounds();
    std::vector<SceneNode> finished;
    std::vector<std::uint32_t> parents;
    for (const Draft& draft : drafts) {
        finished.push_back(finish(draft));
        parents.push_back(draft.parent);
    }
    return std::make_shared<Scene>(std::move(finished), std::move(parents),
                                   std::move(content.materials));
}

} // namespace

std::shared_ptr<const Scene> BuildScene(SceneContent content) {
    return SceneBuilder(std::move(content)).build();
}

} // namespace TellarSceneImport
