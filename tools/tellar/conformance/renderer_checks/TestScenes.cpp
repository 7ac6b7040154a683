#include "TestScenes.h"

#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/GroupBuilder.h>

namespace TellarTool {

using namespace OxAttribute;

namespace {

constexpr int kDeepest = 300; // groups above one another

constexpr const char* kCamera = R"({"name": "camera", "type": "Camera", "inputs": ["scene"],
    "args": {"path": "/root/world/cam/camera", "fov": 50, "translate": [0, 1, 12]}},
  {"name": "settings", "type": "RenderSettings", "inputs": ["camera"],
    "args": {"settings": {"cameraName": "/root/world/cam/camera", "resolution": "48x32"}}})";

constexpr const char* kMaterials = R"(
"materials": {"c": {
  "network": {"a": {"type": "material", "material": {
    "style": "network",
    "nodes": {
      "metal": {"name": "metal", "type": "standard_surface",
                "parameters": {"baseColor": [0.8, 0.5, 0.2], "metalness": 1.0},
                "connections": {"roughness": "out@scratches"}},
      "scratches": {"name": "scratches", "type": "noise", "parameters": {"frequency": 40.0}},
      "loop": {"name": "loop", "type": "unheard_of", "connections": {"in": "out@loop"}}},
    "parameters": {"tint": [0.7, 0.5, 0.3]},
    "interface": {"tint": {"src": "metal.baseColor"}},
    "terminals": {"surface": "metal"}}}},
  "classic": {"a": {"type": "material", "material": {
    "surfaceShader": "standard_surface", "surfaceParams": {"baseColor": [0.2, 0.4, 0.8]}}}},
  "broken": {"a": {"type": "material", "material": {
    "style": "network", "nodes": {}, "terminals": {"surface": "nowhere"}}}}}})";

constexpr const char* kLights = R"(
"lights": {"c": {
  "sun": {"a": {"type": "light", "xform": {"rotateX": [-50.0, 1, 0, 0]},
                "light": {"type": "directional", "angle": 0.5}}},
  "bulb": {"a": {"type": "light", "xform": {"translate": [2.0, 4.0, 3.0]},
                 "light": {"type": "point", "intensity": 8.0, "radius": 0.2}}},
  "spot": {"a": {"type": "light", "xform": {"translate": [0.0, 2.0, 6.0]},
                 "light": {"type": "spot", "intensity": 20.0, "coneInner": 20.0}}},
  "window": {"a": {"type": "light", "xform": {"translate": [-3.0, 2.0, 5.0]},
                   "light": {"type": "area", "size": [2.0, 1.0]}}},
  "sky": {"a": {"type": "light", "light": {"type": "environment", "zenith": [0.3, 0.5, 1.0]}}},
  "glow": {"a": {"type": "light", "light": {"type": "ambient", "intensity": 0.1}}},
  "strange": {"a": {"type": "light", "light": {"type": "will-o'-the-wisp"}}},
  "empty": {"a": {"type": "light"}}}})";

constexpr const char* kShapes = R"(
"shapes": {"a": {"materialAssign": "/root/materials/classic"}, "c": {
  "mesh": {
    "a": {"type": "polymesh", "xform": {"translate": [-4.0, 0.0, 0.0]}, "geometry": {
      "point": {"P": {"$type": "float", "values":
                      [[-1, -1, 0], [1, -1, 0], [1, 1, 0], [-1, 1, 0], [0, 0, 1]]},
                "N": {"$type": "float", "values":
                      [[0, 0, 1], [0, 0, 1], [0, 0, 1], [0, 0, 1], [0, 0, 1]]}},
      "poly": {"vertexList": [0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4, 0, 3, 2, 1],
               "startIndex": [0, 3, 6, 9, 12, 16]},
      "arbitrary": {
        "st": {"scope": "point", "inputType": "vector2", "value":
               {"$type": "float", "values": [[0, 0], [1, 0], [1, 1], [0, 1], [0.5, 0.5]]}},
        "color": {"scope": "face", "inputType": "color3", "value":
                  {"$type": "float", "values":
                   [[1, 0, 0], [0, 1, 0], [0, 0, 1], [1, 1, 0], [1, 1, 1]]}}}}},
    "c": {"two": {"a": {"type": "faceset", "geometry": {"faces": [0, 2]},
                        "materialAssign": "/root/materials/network"}}}},
  "smooth": {"a": {"type": "subdmesh", "xform": {"translate": [-1.5, 0.0, 0.0]}, "geometry": {
      "point": {"P": {"$type": "float", "values":
                [[-1, -1, -1], [1, -1, -1], [-1, 1, -1], [1, 1, -1],
                 [-1, -1, 1], [1, -1, 1], [-1, 1, 1], [1, 1, 1]]}},
      "poly": {"vertexList": [0, 2, 3, 1, 4, 5, 7, 6, 0, 1, 5, 4, 2, 6, 7, 3, 0, 4, 6, 2, 1, 3, 7, 5],
               "startIndex": [0, 4, 8, 12, 16, 20, 24]},
      "creaseIndices": [2, 6, 7, 3, 2], "creaseLengths": [5], "creaseSharpness": [3.0],
      "cornerIndices": [0], "cornerSharpness": [10.0], "holeFaces": [1]}}},
  "tubes": {"a": {"type": "curves", "geometry": {
      "point": {"P": {"$type": "float", "values":
                [[0, -1, 0], [0.4, -0.3, 0], [-0.4, 0.3, 0], [0, 1, 0],
                 [0.5, -1, 0], [0.9, -0.3, 0], [0.1, 0.3, 0], [0.5, 1, 0]]},
                "width": {"$type": "float", "values": [0.1, 0.1, 0.2, 0.2, 0.1, 0.1, 0.1, 0.1]}},
      "numVertices": [4, 4], "basis": "bspline"}}},
  "ribbon": {"a": {"type": "curves", "geometry": {
      "point": {"P": {"$type": "float", "values": [[1, -1, 0], [1.2, 0, 0], [1, 1, 0]]}},
      "basis": "linear", "crossSection": "flat", "constantWidth": 0.2}}},
  "cloud": {"a": {"type": "pointcloud", "xform": {"translate": [2.5, 0.0, 0.0]}, "geometry": {
      "point": {"P": {"$type": "float", "values": [[-0.5, 0, 0], [0.5, 0, 0], [0, 0.7, 0]]},
                "width": {"$type": "float", "values": [0.3, 0.4, 0.5]}}}}},
  "ball": {"a": {"type": "sphere", "geometry": {"radius": 0.8},
                 "xform": {"translate": [4.5, 0.0, 0.0]}}},
  "moving": {"a": {"type": "sphere", "geometry": {"radius": 0.3}, "xform": {"translate":
      {"$type": "double", "times": [0, 1],
       "samples": [[0, 2, 0], [1, 2, 0]]}}}},
  "growing": {"a": {"type": "polymesh", "geometry": {
      "point": {"P": {"$type": "float", "times": [0, 1], "samples": [
        [[0, -2, 0], [1, -2, 0], [0, -1, 0]], [[0, -2, 0], [2, -2, 0], [0, 0, 0]]]}},
      "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}},
  "hidden": {"a": {"type": "sphere", "visible": 0}},
  "unknown": {"a": {"type": "volume of smoke", "bound": [-1.0, 1.0, -1.0, 1.0, -1.0, 1.0]}},
  "unshaped": {"a": {"type": "polymesh"}},
  "untyped": {},
  "misassigned": {"a": {"type": "sphere", "materialAssign": "/root/materials/nowhere",
                        "xform": {"translate": [0.0, -3.0, 0.0]}}},
  "badly shaded": {"a": {"type": "sphere", "materialAssign": "/root/materials/broken",
                         "xform": {"translate": [2.0, -3.0, 0.0]}}},
  "textured": {"a": {"type": "sphere", "textures": {"color": "no/such/file.png"},
                     "xform": {"translate": [4.0, -3.0, 0.0]}}},
  "flat": {"a": {"type": "sphere", "xform": {"scale": [1.0, 0.0, 1.0]}}}}})";

GroupAttribute Parse(const std::string& ops) {
    return ParseDescriptionJson("{\"ops\": [" + ops + "]}", "conform", {});
}

std::string SceneOp(const std::string& children) {
    return R"({"name": "scene", "type": "StaticScene", "args": {"c": {)" + children + "}}}";
}

GroupAttribute SceneWithCamera(const std::string& children) {
    return Parse(SceneOp(children) + ", " + kCamera);
}

GroupAttribute Op(const std::string& type, const GroupAttribute& args,
                  const std::vector<std::string>& inputs) {
    GroupBuilder op(BuilderModeStrict);
    op.set("opType", StringAttribute(type));
    op.set("opArgs", args);
    if (!inputs.empty()) op.set("opInputs", StringAttribute(inputs, 1));
    return op.build();
}

GroupAttribute WithNamedOp(const GroupAttribute& description, const std::string& name,
                           const GroupAttribute& op) {
    GroupBuilder ops(BuilderModeStrict);
    ops.update(description);
    ops.set(name, op);
    return ops.build();
}

std::string LastOp(const GroupAttribute& description) {
    return description.getChildName(description.getNumberOfChildren() - 1);
}

/// The description with one more location, which holds nothing but a sphere.
GroupAttribute WithSphere(const GroupAttribute& description, const std::string& path) {
    const std::string last = LastOp(description);
    const std::string name = "sphere " + std::to_string(description.getNumberOfChildren());
    const GroupAttribute args({{"location", StringAttribute(path)},
                               {"a", GroupAttribute({{"type", StringAttribute("sphere")}}, true)}},
                              true);
    const auto withSphere = WithNamedOp(description, name, Op("StaticScene", args, {}));
    return WithNamedOp(withSphere, name + " merged", Op("Merge", {}, {last, name}));
}

} // namespace

GroupAttribute EmptyScene() {
    return Parse(SceneOp(""));
}

GroupAttribute SceneWithoutShapes() {
    return SceneWithCamera("");
}

GroupAttribute SceneWithoutCamera() {
    return Parse(SceneOp(R"("world": {"c": {"one": {"a": {"type": "sphere"}},
                                            "two": {"a": {"type": "sphere"}}}})"));
}

GroupAttribute SceneOfEverything() {
    const std::string copies = R"({"name": "copies", "type": "Array", "inputs": ["settings"],
        "args": {"source": "/root/world/shapes/mesh", "target": "/root/world/copies",
                 "keepSource": true, "counts": [3, 1, 2], "spacing": [2, 1, -3]}})";
    return Parse(SceneOp(std::string(kMaterials) + R"(, "world": {"c": {)" + kLights + ", " +
                         kShapes + "}}") +
                 ", " + kCamera + ", " + copies);
}

GroupAttribute SceneOfOddNames() {
    GroupAttribute scene = SceneWithoutShapes();
    for (const std::string& name :
         {std::string(" "), std::string("two words"), std::string("dots.in.it"),
          std::string("100 % s %n {} \\ \"quoted\" 'too'"),
          std::string("k\xc3\xa4se \xe6\xa4\x85\xe5\xad\x90 \xf0\x9f\xaa\x91"),
          std::string("not utf-8 \xff\xfe"), std::string("tab\tand\nline"), std::string("*"),
          std::string(".."), std::string("-o"), std::string(5000, 'n')})
        scene = WithSphere(scene, "/root/world/" + name);
    std::string deep = "/root/world";
    for (int i = 0; i < kDeepest; ++i)
        deep += "/down";
    return WithSphere(scene, deep);
}

GroupAttribute SceneOfDamagedShapes() {
    return SceneWithCamera(R"("world": {"c": {
      "indices": {"a": {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]}},
        "poly": {"vertexList": [0, 1, 3000000, -5], "startIndex": [0, 4]}}}},
      "faces": {"a": {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]}},
        "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3, 2, 90000, -1]}}}},
      "short faces": {"a": {"type": "subdmesh", "geometry": {
        "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]}},
        "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 1, 3]},
        "creaseIndices": [0, 99], "creaseLengths": [7], "creaseSharpness": [-1.0, 2.0, 3.0]}}},
      "numbers": {"a": {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float", "values": [[1e38, 0, 0], [0, -1e38, 0], [0, 0, 1e38]]},
                  "N": {"$type": "float", "values": [[0, 0, 0]]}},
        "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]},
        "arbitrary": {"st": {"scope": "vertex", "value": [0.5]}, "color": 3}}}},
      "not tuples": {"a": {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float", "values": [0, 1, 2, 3, 4]}},
        "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}},
      "texts": {"a": {"type": "polymesh", "visible": "no", "xform": "here", "material": "red",
        "geometry": {"point": {"P": "nowhere"}, "poly": {"vertexList": "all", "startIndex": 1.5}}}},
      "group type": {"a": {"type": {"is": "polymesh"}, "geometry": 5}},
      "no points": {"a": {"type": "pointcloud", "geometry": {"point": {"P": {"$type": "float",
        "values": []}}, "constantWidth": -3.0}}},
      "curves": {"a": {"type": "curves", "geometry": {
        "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0]]}},
        "numVertices": [2000000000, 2000000000, -4], "basis": "none at all",
        "constantWidth": {"$type": "float", "values": []}}}},
      "radius": {"a": {"type": "sphere", "geometry": {"radius": -2.0}}},
      "matrix": {"a": {"type": "sphere", "xform": {"matrix": [1, 2, 3]}}},
      "light": {"a": {"type": "light", "light": {"type": 7, "color": "red", "intensity": -1.0,
        "size": [0.0]}}},
      "texture": {"a": {"type": "sphere", "material": {"style": "network", "nodes": [1, 2],
        "terminals": 4}}}}})");
}

std::vector<std::string> LocationsToFail() {
    return {"/root/world/cam/camera",
            "/root/world/shapes",
            kMovedShape,
            "/root/world/shapes/mesh/two",
            "/root/world/shapes/ball",
            "/root/world/lights/sun",
            "/root/materials",
            "/root/materials/network",
            "/root/world/copies"};
}

GroupAttribute WithOp(const GroupAttribute& description, const std::string& name,
                      const std::string& type, const GroupAttribute& args) {
    return WithNamedOp(description, name, Op(type, args, {LastOp(description)}));
}

GroupAttribute WithSettings(const GroupAttribute& description, const GroupAttribute& settings) {
    return WithOp(description, "more settings", "RenderSettings",
                  GroupAttribute({{"settings", settings}}, true));
}

} // namespace TellarTool
