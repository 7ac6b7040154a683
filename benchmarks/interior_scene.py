"""The description of a furnished room that is lit through a window: by the sky, and by a sun that
draws a bright patch on the floor."""


def floats(*values):
    return {"$type": "float", "values": [float(value) for value in values]}


def material(red, green, blue, **parameters):
    values = {"baseColor": floats(red, green, blue),
              **{name: floats(value) for name, value in parameters.items()}}
    return {"style": "network", "terminals": {"surface": "surface"},
            "nodes": {"surface": {"name": "surface", "type": "standard_surface",
                                  "parameters": values}}}


PLASTER = material(0.75, 0.72, 0.66, roughness=0.9)
BRICK = material(0.55, 0.16, 0.1, roughness=0.8)
PARQUET = material(0.36, 0.21, 0.11, roughness=0.35)
OAK = material(0.5, 0.33, 0.17, roughness=0.5)
CLOTH = material(0.12, 0.22, 0.42, roughness=0.95)
BRASS = material(0.88, 0.66, 0.28, roughness=0.25, metalness=1)
LACQUER = material(0.05, 0.3, 0.12, roughness=0.15)


def location(kind, children=None, **attributes):
    made = {"a": {"type": kind, **attributes}}
    if children:
        made["c"] = children
    return made


def box(low, high, surface):
    """A box between two opposite corners."""
    points = [[float((low, high)[i & 1][0]), float((low, high)[i >> 1 & 1][1]),
               float((low, high)[i >> 2][2])] for i in range(8)]
    faces = [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]
    poly = {"vertexList": [point for face in faces for point in face],
            "startIndex": list(range(0, 25, 4))}
    return location("polymesh", material=surface, geometry={
        "point": {"P": {"$type": "float", "values": points}}, "poly": poly})


def room():
    """A room of six metres by five, three metres high, with a window in the wall at x = -3."""
    return {
        "floor": box((-3.2, -0.2, -2.7), (3.2, 0, 2.7), PARQUET),
        "ceiling": box((-3.2, 3, -2.7), (3.2, 3.2, 2.7), PLASTER),
        "back": box((-3.2, 0, -2.7), (3.2, 3, -2.5), PLASTER),
        "front": box((-3.2, 0, 2.5), (3.2, 3, 2.7), PLASTER),
        "right": box((3, 0, -2.5), (3.2, 3, 2.5), BRICK),
        "below_window": box((-3.2, 0, -2.5), (-3, 0.9, 2.5), PLASTER),
        "above_window": box((-3.2, 2.3, -2.5), (-3, 3, 2.5), PLASTER),
        "behind_window": box((-3.2, 0.9, -2.5), (-3, 2.3, -1.3), PLASTER),
        "before_window": box((-3.2, 0.9, 0.3), (-3, 2.3, 2.5), PLASTER),
        "window_bar": box((-3.13, 0.9, -0.53), (-3.07, 2.3, -0.47), OAK),
    }


def furniture():
    return {
        "table": box((-0.9, 0.7, -1.3), (0.9, 0.76, -0.3), OAK),
        "table_leg_1": box((-0.85, 0, -1.25), (-0.77, 0.7, -1.17), OAK),
        "table_leg_2": box((0.77, 0, -1.25), (0.85, 0.7, -1.17), OAK),
        "table_leg_3": box((-0.85, 0, -0.43), (-0.77, 0.7, -0.35), OAK),
        "table_leg_4": box((0.77, 0, -0.43), (0.85, 0.7, -0.35), OAK),
        "cabinet": box((1.5, 0, -2.5), (2.7, 1.9, -2), LACQUER),
        "sofa_seat": box((1.4, 0, -0.6), (2.8, 0.45, 1.2), CLOTH),
        "sofa_back": box((2.55, 0.45, -0.6), (2.8, 0.95, 1.2), CLOTH),
        "chest": box((-2.6, 0, -2.4), (-1.6, 0.6, -1.8), BRICK),
        "globe": location("sphere", material=BRASS, geometry={"radius": floats(0.2)},
                          xform={"translate": [0.3, 0.96, -0.8]}),
        "vase": location("sphere", material=LACQUER, geometry={"radius": floats(0.13)},
                         xform={"translate": [-0.4, 0.89, -0.7]}),
    }


def lights():
    """A sky and a sun that stands 35 degrees high, in front of the window."""
    sun = {"type": "directional", "color": floats(1, 0.93, 0.8), "intensity": floats(12),
           "angle": floats(0.53)}
    sky = {"type": "environment", "horizon": floats(2.2, 2.6, 3), "zenith": floats(0.9, 1.5, 2.8),
           "ground": floats(0.5, 0.55, 0.35)}
    turn = {"rotate_y": [-75.0, 0.0, 1.0, 0.0], "rotate_x": [-35.0, 1.0, 0.0, 0.0]}
    return {"sun": location("light", light=sun, xform=turn), "sky": location("light", light=sky)}


def camera():
    lens = {"projection": "perspective", "fov": 68.0, "near": 0.1, "far": 1000.0,
            "left": -1.0, "right": 1.0, "bottom": -1.0, "top": 1.0}
    return location("camera", geometry=lens, xform={
        "translate": [-0.2, 1.45, 2.35], "rotate": [-8.0, 1.0, 0.0, 0.0]})


def description():
    world = {"cam": location("group", {"camera": camera()}),
             "lights": location("group", lights()),
             "room": location("group", room()), "furniture": location("group", furniture())}
    settings = {"cameraName": "/root/world/cam/camera", "resolution": "square_512"}
    return {"ops": [
        {"name": "interior", "type": "StaticScene", "args": {"c": {"world": {
            "a": {"type": "group"}, "c": world}}}},
        {"name": "settings", "type": "RenderSettings", "inputs": ["interior"],
         "args": {"settings": settings}}]}
