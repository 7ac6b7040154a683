"""Small scenes for reference pictures."""

CAMERA = "/root/world/cam/camera"


def location(kind, children=None, **attributes):
    made = {"a": {"type": kind, **attributes}}
    if children:
        made["c"] = children
    return made


def floats(*values):
    return {"$type": "float", "values": [float(value) for value in values]}


def moved(x, y, z):
    return {"translate": [float(x), float(y), float(z)]}


def material(**parameters):
    """A shading network of one node."""
    return {"style": "network", "terminals": {"surface": "surface"},
            "nodes": {"surface": {"name": "surface", "type": "standard_surface",
                                  "parameters": parameters}}}


def plain(red, green, blue, roughness=0.9):
    return material(baseColor=floats(red, green, blue), roughness=floats(roughness),
                    specular=floats(0.2))


def textured(file, **more):
    made = material(baseColor=floats(0.5, 0.5, 0.5), roughness=floats(1), specular=floats(0))
    made["nodes"]["surface"]["connections"] = {"baseColor": "out@image"}
    made["nodes"]["image"] = {"name": "image", "type": "image",
                              "parameters": {"file": file, "colorSpace": "srgb", **more}}
    return made


def mesh(points, faces, **attributes):
    starts = [0]
    for face in faces:
        starts.append(starts[-1] + len(face))
    return {"point": {"P": {"$type": "float", "values": [list(map(float, p)) for p in points]},
                      **attributes.pop("point", {})},
            "poly": {"vertexList": [point for face in faces for point in face],
                     "startIndex": starts}, **attributes}


def box(width, height, depth):
    """A box, with the origin in the middle of its bottom."""
    x, z = width / 2, depth / 2
    points = [(sx * x, y, sz * z) for y in (0, height) for sz in (-1, 1) for sx in (-1, 1)]
    return mesh(points, [(0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4),
                         (1, 5, 7, 3)])


def wedge(width, height, depth):
    """A ramp that rises towards +x."""
    x, z = width / 2, depth / 2
    points = [(-x, 0, -z), (x, 0, -z), (x, 0, z), (-x, 0, z), (x, height, -z), (x, height, z)]
    return mesh(points, [(0, 1, 2, 3), (0, 3, 5, 4), (1, 4, 5, 2), (0, 4, 1), (3, 2, 5)])


def panel(width, height, **attributes):
    """An upright rectangle that faces +z, with texture coordinates and the origin in the middle of
    its bottom edge."""
    x = width / 2
    corners = {"scope": "point", "inputType": "point2",
               "value": {"$type": "float", "values": [[0, 0], [1, 0], [1, 1], [0, 1]]}}
    return mesh([(-x, 0, 0), (x, 0, 0), (x, height, 0), (-x, height, 0)], [(0, 1, 2, 3)],
                arbitrary={"st": corners}, **attributes)


def floor(size=20):
    return location("polymesh", material=plain(0.45, 0.42, 0.4),
                    geometry=mesh([(-size, 0, size), (size, 0, size), (size, 0, -size),
                                   (-size, 0, -size)], [(0, 1, 2, 3)]))


def sun(turn=-40, down=-50, strength=2.0):
    return location("light", light={"type": "directional", "color": floats(1, 0.95, 0.85),
                                    "intensity": floats(strength), "angle": floats(2)},
                    xform={"rotate_y": [float(turn), 0.0, 1.0, 0.0],
                           "rotate_x": [float(down), 1.0, 0.0, 0.0]})


def sky(strength=0.5):
    return location("light", light={"type": "environment", "intensity": floats(strength),
                                    "horizon": floats(0.9, 0.95, 1), "zenith": floats(0.3, 0.5, 1),
                                    "ground": floats(0.3, 0.28, 0.25)})


def camera(position=(0, 2.2, 7), down=-12, fov=45, **geometry):
    lens = {"projection": "perspective", "fov": float(fov), "near": 0.1, "far": 1000.0,
            "left": -1.0, "right": 1.0, "bottom": -1.0, "top": 1.0, **geometry}
    return location("camera", geometry=lens,
                    xform={**moved(*position), "rotate": [float(down), 1.0, 0.0, 0.0]})


def scene(shapes, view=None, lights=None, **settings):
    """The description of a scene of these shapes, camera and lights."""
    world = {"cam": location("group", {"camera": view or camera()}),
             "lights": location("group", lights or {"sun": sun(), "sky": sky()}),
             "shapes": location("group", shapes)}
    settings = {"resolution": "test_picture", "cameraName": CAMERA,
                "lantern": {"samples": 32, "maxDepth": 4}, **settings}
    return {"ops": [
        {"name": "scene", "type": "StaticScene", "args": {"c": {"world": {
            "a": {"type": "group"}, "c": world}}}},
        {"name": "settings", "type": "RenderSettings", "inputs": ["scene"],
         "args": {"settings": settings}}]}


def stage():
    """Three asymmetric shapes of different colors, with transforms whose order matters."""
    turned = location("group", {"box": location("polymesh", geometry=box(1, 1, 1),
                                                material=plain(0.8, 0.1, 0.08),
                                                xform={"scale": [0.8, 2.0, 0.8]})},
                      xform={**moved(-1.8, 0, 0), "rotate": [30.0, 0.0, 1.0, 0.0]})
    return {"floor": floor(), "left": turned,
            "middle": location("sphere", geometry={"radius": 0.7},
                               material=plain(0.1, 0.6, 0.12), xform=moved(0.2, 0.7, 1.0)),
            "right": location("polymesh", geometry=wedge(1.8, 1.3, 1),
                              material=plain(0.1, 0.2, 0.8), xform=moved(2.0, 0, -0.6))}


def motion():
    """A box that moves from left to right in one frame, above two static ones."""
    passing = {"translate": {"$type": "double", "times": [0.0, 1.0],
                             "samples": [[-2.5, 1.2, 0.0], [2.5, 1.2, 0.0]]}}
    return {"floor": floor(),
            "passing": location("polymesh", geometry=box(0.8, 0.8, 0.8),
                                material=plain(0.9, 0.75, 0.1), xform=passing),
            "left": location("polymesh", geometry=box(0.5, 1, 0.5),
                             material=plain(0.2, 0.3, 0.8), xform=moved(-2.0, 0, 0)),
            "right": location("polymesh", geometry=box(0.5, 1, 0.5),
                              material=plain(0.8, 0.2, 0.2), xform=moved(2.0, 0, 0))}


def materials(picture):
    """A textured panel, a box whose faces have different materials, gold and glass."""
    faces = {f"side{i}": location("faceset", geometry={"faces": [i]}, material=plain(*colour))
             for i, colour in ((1, (0.9, 0.9, 0.1)), (3, (0.8, 0.1, 0.1)), (5, (0.1, 0.2, 0.8)))}
    return {"floor": floor(),
            "panel": location("polymesh", geometry=panel(1.8, 1.8), material=textured(picture),
                              xform=moved(-1.9, 0.2, -0.6)),
            "dice": location("polymesh", faces, geometry=box(1, 1, 1),
                             material=plain(0.1, 0.6, 0.2),
                             xform={**moved(0.2, 0, 0), "rotate": [-35.0, 0.0, 1.0, 0.0]}),
            "gold": location("sphere", geometry={"radius": 0.6}, xform=moved(1.7, 0.6, 0.4),
                             material=material(baseColor=floats(1, 0.7, 0.3), metalness=floats(1),
                                               roughness=floats(0.25))),
            "glass": location("sphere", geometry={"radius": 0.35}, xform=moved(-0.5, 0.35, 1.9),
                              material=material(transmission=floats(1), roughness=floats(0),
                                                ior=floats(1.5), baseColor=floats(1, 1, 1)))}


def lamps():
    """A spot, a point and an area light on one wall."""
    wall = location("polymesh", geometry=panel(12, 8), material=plain(0.7, 0.7, 0.7),
                    xform=moved(0, 0, -1.5))
    lights = {
        "spot": location("light", xform={**moved(-2.2, 2.5, 2), "rotate": [-12.0, 1.0, 0.0, 0.0]},
                         light={"type": "spot", "color": floats(1, 0.3, 0.2),
                                "intensity": floats(14), "coneInner": floats(24),
                                "coneOuter": floats(30), "decay": floats(0, 0, 1)}),
        "point": location("light", xform=moved(0.2, 1.2, -0.8),
                          light={"type": "point", "color": floats(0.3, 1, 0.4),
                                 "intensity": floats(0.8), "decay": floats(0, 0, 1)}),
        "area": location("light", xform={**moved(2.3, 3.0, 0.5), "rotate": [-60.0, 1.0, 0.0, 0.0]},
                         light={"type": "area", "color": floats(0.4, 0.5, 1),
                                "intensity": floats(3), "size": floats(1.2, 0.5)})}
    return {"floor": floor(), "wall": wall}, lights


def sphere_field(count=5):
    """A location that a delegate replaces by a row of spheres."""
    return {"floor": floor(),
            "field": location("sphere field", material=plain(0.8, 0.35, 0.1),
                              field={"count": count, "spacing": 1.0, "radius": 0.4},
                              xform={**moved(-2, 0.4, 0), "rotate": [-20.0, 0.0, 1.0, 0.0]})}


def quarters(size=64):
    """A picture whose quarters show its orientation: red, green, blue and white, in rows from the
    top left."""
    half = size // 2
    return [[((230, 30, 30) if x < half else (30, 200, 30)) if y < half
             else ((30, 30, 230) if x < half else (240, 240, 240)) for x in range(size)]
            for y in range(size)]


