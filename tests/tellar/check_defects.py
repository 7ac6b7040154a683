"""One scene for each rule of `tellar check`, with one defect that the rule finds."""

from tellar_test import static_scene


def floats(values, tuple_size=3):
    return {"$type": "float", "values": [values[i:i + tuple_size]
                                         for i in range(0, len(values), tuple_size)]}


def moving(*samples):
    """Doubles with (time, values)."""
    return {"$type": "double", "times": [time for time, _ in samples],
            "samples": [values for _, values in samples]}


SQUARE = [0.0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0]
RED = {"surfaceShader": "standard_surface", "surfaceParams": {"baseColor": [1.0, 0, 0]}}
LENS = {"fov": 40.0, "near": 0.1, "far": 100.0, "left": -1.0, "right": 1.0, "top": 1.0,
        "bottom": -1.0}


def mesh(geometry=None, **attributes):
    """A sound square of one face. A value of None removes what is there."""
    whole = {"point.P": floats(SQUARE), "poly.vertexList": [0, 1, 2, 3], "poly.startIndex": [0, 4]}
    whole.update(geometry or {})
    whole = {name: value for name, value in whole.items() if value is not None}
    return {"type": "polymesh", "geometry": whole, "material": RED, **attributes}


def scene_of(attributes, children=None):
    """The location /root/it."""
    location = {"a": attributes}
    if children:
        location["c"] = {name: {"a": child} for name, child in children.items()}
    return static_scene({"it": location})


def network(nodes, **parts):
    return {"style": "network", "nodes": nodes, "terminals": {"surface": "s"}, **parts}


def node(connections=None, **parameters):
    content = {"name": "s", "type": "standard_surface", "parameters": parameters}
    if connections:
        content["connections"] = connections
    return content


def light(**values):
    return {"type": "light", "light": {"type": "point", **values}}


def camera(**values):
    return {"type": "camera", "geometry": {**LENS, **values}}


def curves(**values):
    return {"type": "curves", "geometry": {"point.P": floats(SQUARE), **values}, "material": RED}


def with_op(description, op_type, arguments):
    description["ops"].append({"name": "edit", "type": op_type, "inputs": ["scene"],
                               "args": arguments})
    return description


def merged():
    description = scene_of({"type": "sphere", "material": RED})
    description["ops"] += [
        {"name": "other", "type": "StaticScene",
         "args": {"location": "/root/it", "a": {"type": "light", "light": {"type": "point"}}}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "other"]}]
    return description


def uncookable():
    description = scene_of({"type": "group"})
    description["ops"] += [
        {"name": "bad", "type": "SceneImport",
         "args": {"file": "/no such folder/x.obj", "location": "/root/bad",
                  "materialLocation": "/root/bad/materials"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "bad"]}]
    return description


def with_settings(settings, children):
    description = static_scene({name: {"a": child} for name, child in children.items()})
    return with_op(description, "RenderSettings", {"settings": settings})


FACESETS = {"a": mesh(), "c": {"part": {"a": {
    "type": "faceset", "geometry": {"faces": [0]}, "material": RED}}}}

# The rule: the scene, the location and the attribute of its finding. Findings about ops have the
# op's name instead.
DEFECTS = {
    "op-glob": (with_op(scene_of({"type": "group"}), "Transform",
                        {"paths": ["/root/its"], "translate": [1.0, 0, 0]}), "edit", None),
    "op-assignment": (with_op(scene_of({"type": "sphere", "material": RED}), "MaterialAssign",
                              {"paths": ["/root/it"], "material": "/root/red"}), "edit", None),
    "op-merge": (merged(), "both", None),
    "cook-error": (uncookable(), "/root/bad", None),
    "setting-unknown": (with_settings({"resolutoin": "square_512"}, {}),
                        "/root", "renderSettings.resolutoin"),
    "setting-type": (with_settings({"resolution": 512}, {}), "/root", "renderSettings.resolution"),
    "setting-value": (with_settings({"noise": 2.0}, {}), "/root", "renderSettings.noise"),
    "transform-value": (scene_of({"type": "group", "xform.translate": [1.0, 2]}),
                        "/root/it", "xform.translate"),
    "transform-singular": (scene_of({"type": "group", "xform.scale": [1.0, 0, 1]}),
                           "/root/it", "xform"),
    "transform-samples": (
        scene_of({"type": "group", "xform.translate": moving((0, [0, 0, 0]), (1, [1, 0, 0])),
                  "xform.scale": moving((0, [1, 1, 1]), (2, [2, 2, 2]))}),
        "/root/it", "xform.scale"),
    "bound-value": (scene_of({"type": "group", "bound": [0.0, 1, 0, 1]}), "/root/it", "bound"),
    "bound-small": (scene_of(mesh(bound=[0.0, 1, 0, 0.5, 0, 0])), "/root/it", "bound"),
    "points-missing": (scene_of(mesh({"point.P": None})), "/root/it", "geometry.point.P"),
    "points-value": (scene_of(mesh({"point.P": floats(SQUARE + [1.0], 1)})),
                     "/root/it", "geometry.point.P"),
    "mesh-faces": (scene_of(mesh({"poly.startIndex": [0, 5]})),
                   "/root/it", "geometry.poly.startIndex"),
    "mesh-index": (scene_of(mesh({"poly.vertexList": [0, 1, 2, 4]})),
                   "/root/it", "geometry.poly.vertexList"),
    "mesh-unused": (scene_of(mesh({"poly.vertexList": [0, 1, 2, 3, 0, 1],
                                   "poly.startIndex": [0, 4, 6]})),
                    "/root/it", "geometry.poly.startIndex"),
    "shape-finite": (scene_of(mesh({"point.P": floats(SQUARE[:11] + ["nan"])})),
                     "/root/it", "geometry.point.P"),
    "shape-width": (scene_of(curves(constantWidth=-1.0)), "/root/it", "geometry.constantWidth"),
    "normals-count": (scene_of(mesh({"point.N": floats(SQUARE[:9])})),
                      "/root/it", "geometry.point.N"),
    "arbitrary-count": (
        scene_of(mesh({"arbitrary.st": {"scope": "vertex", "inputType": "vector2",
                                        "value": floats([0.0, 0, 1, 0, 1, 1], 2)}})),
        "/root/it", "geometry.arbitrary.st.value"),
    "subdivision-tags": (scene_of({**mesh({"creaseIndices": [0, 9], "creaseLengths": [2],
                                           "creaseSharpness": [1.0]}), "type": "subdmesh"}),
                         "/root/it", "geometry.creaseIndices"),
    "curves-count": (scene_of(curves(numVertices=[2, 3])), "/root/it", "geometry.numVertices"),
    "faceset-index": (scene_of(mesh(), {"part": {"type": "faceset", "geometry": {"faces": [1]},
                                                 "material": RED}}),
                      "/root/it/part", "geometry.faces"),
    "faceset-unused": (scene_of({"type": "group"},
                                {"part": {"type": "faceset", "geometry": {"faces": [0]}}}),
                       "/root/it/part", None),
    "material-missing": (scene_of({"type": "group", "materialAssign": "/root/red"}),
                         "/root/it", "materialAssign"),
    "material-none": (scene_of({"type": "sphere"}), "/root/it", None),
    "material-node": (scene_of({"type": "group", "material": network(
        {"s": node({"baseColor": "out@wod"})})}),
        "/root/it", "material.nodes.s.connections.baseColor"),
    "material-loop": (scene_of({"type": "group", "material": network(
        {"s": node({"baseColor": "out@s"})})}), "/root/it", "material.nodes.s"),
    "material-unused": (scene_of({"type": "material", "material": RED}), "/root/it", None),
    "texture-missing": (scene_of({"type": "group", "material": network(
        {"s": node(file="no such file.png")})}),
        "/root/it", "material.nodes.s.parameters.file"),
    "texture-unused": (scene_of({"type": "group", "textures": {"wood": "$MAPS/wood.png"},
                                 "material": network({"s": node()})}),
                       "/root/it", "textures.wood"),
    "light-type": (scene_of(light(type="sopt")), "/root/it", "light.type"),
    "light-value": (scene_of(light(radius=-1.0)), "/root/it", "light.radius"),
    "light-dark": (scene_of(light(intensity=0.0)), "/root/it", "light.intensity"),
    "light-hidden": (scene_of({"type": "group", "visible": 0}, {"lamp": light()}),
                     "/root/it/lamp", None),
    "camera-lens": (scene_of(camera(fov=180.0)), "/root/it", "geometry.fov"),
    "camera-missing": (with_settings({"cameraName": "/root/cm"}, {"cam": camera()}),
                       "/root", "renderSettings.cameraName"),
    "camera-unused": (with_settings({"cameraName": "/root/cam"},
                                    {"cam": camera(), "other": camera()}), "/root/other", None),
}

# Rules whose defects no built-in op type makes. They are tested in C++, with op types of the tests.
OF_OTHER_OP_TYPES = {"op-warning", "name-level", "name-utf8", "name-clash"}

# A scene without any defect that has something of each kind.
SOUND = static_scene({
    "mesh": {"a": mesh({"point.N": floats([0.0, 0, 1] * 4),
                        "arbitrary.st": {"scope": "vertex", "inputType": "vector2",
                                         "value": floats(SQUARE[:8], 2)}},
                       bound=[0.0, 1, 0, 1, 0, 0])},
    "parts": FACESETS,
    "curves": {"a": curves(numVertices=[2, 2], constantWidth=0.1)},
    "ball": {"a": {"type": "sphere", "material": RED, "xform.translate": [1.0, 2, 3]}},
    "lamp": {"a": light(intensity=2.0)},
    "camera": {"a": camera()},
})
