"""Scenes that several tests of the command walk."""

from tellar_test import static_scene

SCENE = {
    "ops": [
        {
            "name": "scene",
            "type": "StaticScene",
            "args": {
                "a": {"type": "root"},
                "c": {
                    "world": {
                        "a": {"type": "group", "xform.translate": [1.0, 2, 3]},
                        "c": {
                            "geo": {"c": {
                                "quad": {"a": {
                                    "type": "polymesh",
                                    "geometry.point.P": {
                                        "$type": "float",
                                        "values": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]]},
                                    "label": "front"}},
                                "empty": {}}},
                            "cam": {"a": {
                                "type": "camera",
                                "xform.scale": [2.0, 2.0, 2.0],
                                "geometry.fov": {"$type": "double", "times": [0, 1],
                                                 "samples": [[45], [50]]}}}}}}
            }
        }
    ]
}

TREE = """\
/root [root]
└─ world [group]
   ├─ geo
   │  ├─ quad [polymesh]
   │  └─ empty
   └─ cam [camera]
"""


def wide_scene():
    """Children by the dozen and by the hundred, deep and shallow, and names without locations:
    everything that a walk with several threads has to take apart."""
    deep = {}
    for level in range(40):
        deep = {"a": {"type": "deep"}, "c": {f"level_{level}": deep}}
    children = {
        "many": {"c": {f"n_{i:03}": {"c": {"x": {}, "y": {"c": {"z": {}}}}} for i in range(500)}},
        "deep": deep,
        "few": {"c": {f"f_{i}": {"c": {"leaf": {}}} for i in range(7)}},
        "none": {},
    }
    description = static_scene(children)
    gone = [f"/root/many/n_{i:03}" for i in (0, 1, 63, 64, 250, 251, 252, 498, 499)]
    description["ops"].append({
        "name": "holes", "type": "Prune", "inputs": ["scene"],
        "args": {"paths": gone + ["/root/few/f_6"], "keepNames": True}})
    return description


def endless_scene():
    """More locations than anybody has time for."""
    description = static_scene({"one": {}})
    description["ops"].append({
        "name": "grid", "type": "Array", "inputs": ["scene"],
        "args": {"source": "/root/one", "target": "/root/all", "counts": [1000, 1000, 100000]}})
    return description


def failing_scene(number_of_children):
    """Among its children is one that cannot be cooked: its file is missing."""
    children = {f"c_{i:03}": {"c": {"below": {}}} for i in range(number_of_children)}
    description = static_scene({"all": {"c": children}})
    description["ops"] += [
        {"name": "bad", "type": "SceneImport",
         "args": {"file": "/no such folder/x.obj", "location": "/root/all/bad",
                  "materialLocation": "/root/all/bad/materials"}},
        {"name": "after", "type": "StaticScene",
         "args": {"location": "/root/all/after"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "bad", "after"]}]
    return description
