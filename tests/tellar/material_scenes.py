"""Scenes with materials."""

import json

from tellar_test import TellarTest, static_scene

X = "/root/x"


def node(name, node_type, parameters=None, connections=None):
    group = {"name": name, "type": node_type}
    if parameters:
        group["parameters"] = parameters
    if connections:
        group["connections"] = connections
    return group


def network(terminals, *nodes, **more):
    return {"style": "network", "nodes": {one["name"]: one for one in nodes},
            "terminals": terminals, **more}


def plain(value):
    """A group of the typed form as the object that it stands for."""
    if not isinstance(value, dict):
        return value
    if value.get("$type") == "group":
        value = value["children"]
    return {name: plain(child) for name, child in value.items()}


PAINT = network({"surface": "paint"}, node("paint", "standard_surface", {"roughness": 0.5}))
DENTS = network({"surface": "metal", "displacement": "dents"},
                node("metal", "standard_surface", {}, {"normal": "n@dents"}),
                node("dents", "noise", {"height": 2}))


class SceneTest(TellarTest):
    def scene(self, children, name="s.json"):
        return self.write(name, static_scene(children))

    def one(self, **attributes):
        """A scene with the location /root/x."""
        return self.scene({"x": {"a": attributes}})

    def material(self, scene, at, *arguments):
        return self.tellar("material", scene, "--at", at, *arguments)

    def flattened(self, scene, at, *arguments):
        return plain(json.loads(self.material(scene, at, "--json", *arguments)))
