"""The op types, each as a function that makes an op.

    tellar.ops.Transform(scene, paths=["/root/world/car"], translate=[0, 2, 0])

Every op type that the process knows is here: the built-in ones, those of plug-ins, and those that
are written in Python. A function takes the inputs of the op, a name, and the arguments of the type
under their own names, which are in camelCase. ``help(tellar.ops.Transform)`` tells them.
"""

from collections.abc import Callable

from ._ops import Op
from ._types import DoubleArgument, DoublesArgument, GroupArgument, IntArgument, IntsArgument, StringArgument, StringsArgument

def names() -> list[str]:
    """The names of all op types, sorted."""

# Op types of plug-ins, and those in Python.
def __getattr__(name: str) -> Callable[..., Op]: ...

def Array(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    source: StringArgument,
    target: StringArgument,
    mode: StringArgument | None = None,
    counts: IntsArgument | None = None,
    spacing: DoublesArgument | None = None,
    count: IntArgument | None = None,
    seed: IntArgument | None = None,
    extent: DoublesArgument | None = None,
    spin: IntArgument | None = None,
    groupSize: IntArgument | None = None,
    keepSource: IntArgument | None = None,
) -> Op:
    """Repeats a location and all below it many times, as a grid or scattered. Instances are
    computed one by one as they are asked for, so their number costs nothing.

    Inputs: one.

    Arguments:
        source (string): The location to be repeated with all below it. Required.
        target (string): The location under which the instances appear; made with its ancestors
            where missing. Required.
        mode (string): "grid" or "scatter". Default: "grid".
        counts (int[3]): Grid: instances along x, y, z. Required there.
        spacing (double[3]): Grid: distance along x, y, z. Default: 1, 1, 1.
        count (int): Scatter: how many instances. Required there.
        seed (int): Scatter: another seed, another arrangement. Default: 0.
        extent (double[6]): Scatter: x min, x max, y min, y max, z min, z max; instances are
            spread evenly within. Required there.
        spin (int): Scatter: 1 turns each instance about y at random. Default: 0.
        groupSize (int): No location gets more children than this, from 2 to 1000000: beyond it,
            instances are put into nested groups. Default: 100.
        keepSource (int): 1 leaves what is repeated visible at its own place. Default: 0.
    """


def AttributeEdit(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    paths: StringsArgument,
    delete: StringsArgument | None = None,
    set: GroupArgument | None = None,
    directory: StringArgument | None = None,
) -> Op:
    """Deletes and sets attributes of the locations that match, in this order.

    Inputs: one.

    Arguments:
        paths (string[]): Globs of the locations to change: "*" and "?" within a level, "**"
            across levels. Required.
        delete (string[]): Dotted names of attributes to delete. Default: none.
        set (group): Attributes to set; groups are merged with those there. Default: none.
        directory (string): The folder where relative textures are looked for first. Default:
            none.
    """


def Camera(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    path: StringArgument | None = None,
    projection: StringArgument | None = None,
    fov: DoubleArgument | None = None,
    near: DoubleArgument | None = None,
    far: DoubleArgument | None = None,
    left: DoubleArgument | None = None,
    right: DoubleArgument | None = None,
    top: DoubleArgument | None = None,
    bottom: DoubleArgument | None = None,
    orthographicWidth: DoubleArgument | None = None,
    translate: DoublesArgument | None = None,
    rotate: DoublesArgument | None = None,
    scale: DoublesArgument | None = None,
    matrix: DoublesArgument | None = None,
) -> Op:
    """Adds a camera, or makes one of the location that is there.

    Inputs: one.

    Arguments:
        path (string): The camera's location; ancestors that are missing are made. Default:
            "/root/world/cam/camera".
        projection (string): "perspective" or "orthographic". Default: "perspective".
        fov (double): Field of view of a screen window from -1 to 1, in degrees. Default: 45.
        near (double): Distance of the near clipping plane. Default: 0.1.
        far (double): Distance of the far clipping plane. Default: 100000.
        left (double): Left edge of the screen window. Default: -1.
        right (double): Right edge of the screen window. Default: 1.
        top (double): Top edge of the screen window. Default: 1.
        bottom (double): Bottom edge of the screen window. Default: -1.
        orthographicWidth (double): Width of what an orthographic camera sees. Default: none.
        translate (double[3]): Moves by x, y, z. Default: none.
        rotate (double[4]): Turns by degrees about the axis x, y, z. Default: none.
        scale (double[3]): Scales by x, y, z. Default: none.
        matrix (double[16]): Row-major matrix for row vectors. Default: none.
    """


def CapturedScene(
    *,
    name: str | None = None,
    file: StringArgument,
    strict: IntArgument | None = None,
    files: StringArgument | None = None,
) -> Op:
    """Presents the locations that were recorded in a capture.

    Inputs: none.

    Arguments:
        file (string): The capture. Required.
        strict (int): 1 makes every location that was not recorded an error. Otherwise it does
            not exist. Default: 0.
        files (string): A folder with the files of the capture, which textures then use.
            Default: the recorded paths.
    """


def Instances(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    sources: StringsArgument,
    target: StringArgument,
    indices: IntsArgument | None = None,
    matrices: DoublesArgument | None = None,
    translates: DoublesArgument | None = None,
    rotates: DoublesArgument | None = None,
    scales: DoublesArgument | None = None,
    hidden: IntsArgument | None = None,
    groupSize: IntArgument | None = None,
    keepSource: IntArgument | None = None,
) -> Op:
    """Repeats locations and all below them at given places. Instances are computed one by one as
    they are asked for, so each costs no more than its numbers in the arguments.

    Inputs: one.

    Arguments:
        sources (string[]): The paths of the locations to be repeated, each with all below it.
            Required.
        target (string): The location under which the instances appear; made with its ancestors
            where missing. Required.
        indices (int[]): The source of each instance, from 0. Default: 0 for all.
        matrices (double[16][]): A row-major matrix for row vectors for each instance. Default:
            none.
        translates (double[3][]): Instead of matrices: the offset along x, y, z of each
            instance. Default: none.
        rotates (double[4][]): Likewise, the rotation as a quaternion x, y, z, w of any length.
            Default: none.
        scales (double[3][]): Likewise, the factors along x, y, z. They act first, translates
            last. Default: none.
        hidden (int[]): The indices of instances that are left out. Default: none.
        groupSize (int): No location gets more children than this, from 2 to 1000000: beyond it,
            instances are put into nested groups. Default: 100.
        keepSource (int): 1 leaves what is repeated visible at its own place. Default: 0.
    """


def MaterialAssign(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    paths: StringsArgument,
    material: StringArgument,
) -> Op:
    """Assigns a material: sets "materialAssign" to its path and, when that location has a
    "material" group, "material" to this group.

    Inputs: one.

    Arguments:
        paths (string[]): Globs of the locations to change: "*" and "?" within a level, "**"
            across levels. Required.
        material (string): The path of the material location. Required.
    """


def Merge(
    *inputs: Op | None,
    name: str | None = None,
) -> Op:
    """Presents all locations of all inputs. Where several have a location, their attributes are
    merged, later inputs winning, and their children united.

    Inputs: any number.
    """


def Prune(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    paths: StringsArgument,
    keepNames: IntArgument | None = None,
) -> Op:
    """Removes locations and everything below them.

    Inputs: one.

    Arguments:
        paths (string[]): Globs of the locations to remove: "*" and "?" within a level, "**"
            across levels. Required.
        keepNames (int): 1 leaves the names in the potential children of their parents. Default:
            0.
    """


def RenderSettings(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    settings: GroupArgument,
) -> Op:
    """Merges settings into the "renderSettings" of /root, which it makes if there is none.

    Inputs: one.

    Arguments:
        settings (group): The settings. Required.
    """


def SceneImport(
    *,
    name: str | None = None,
    file: StringArgument,
    directory: StringArgument | None = None,
    location: StringArgument | None = None,
    materialLocation: StringArgument | None = None,
    scene: StringArgument | None = None,
    animation: StringArgument | None = None,
    variant: StringArgument | None = None,
    convertUnits: IntArgument | None = None,
    upAxis: StringArgument | None = None,
    framesPerSecond: DoubleArgument | None = None,
    frame: DoubleArgument | None = None,
    listFiles: IntArgument | None = None,
    version: StringArgument | None = None,
) -> Op:
    """Presents a scene file: its nodes, meshes, cameras, lights, materials and animation. Reads
    glTF 2, OBJ, PLY, FBX, Collada and more.

    Inputs: none.

    Arguments:
        file (string): The scene file. Required.
        directory (string): What a relative "file" is relative to. Default: the working
            directory.
        location (string): The location that holds the scene's root node. Default:
            "/root/world".
        materialLocation (string): The location that holds the materials; it must not hold
            "location". Default: "/root/materials".
        scene (string): The scene of a glTF file, by name or index. Default: the one that the
            file shows.
        animation (string): The animation of the file, by name or index; "none" for the pose
            without one. Default: "first".
        variant (string): The set of materials of a glTF file, by name. Default: the usual ones.
        convertUnits (int): 0 leaves the axes and units of an FBX file as they are. Default: 1,
            +Y up and metres.
        upAxis (string): The axis that points up: "x", "y" or "z"; it is turned to +Y. Default:
            "z" for STL and 3MF files, otherwise "y".
        framesPerSecond (double): How many frames a second of the file's animation takes.
            Default: 24.
        frame (double): The frame to which the times of samples are relative. Default: 0.
        listFiles (int): 1 presents, at "location", the files that the scene file is made of
            instead of its content. Default: 0.
        version (string): Any text. An Op with another one reads the scene file again, while the
            others keep what they have read. Default: none.
    """


def Share(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    locations: StringsArgument,
    sources: StringsArgument,
    indices: IntsArgument | None = None,
    keepSources: IntArgument | None = None,
) -> Op:
    """Shows what is at a location at others too. All that is below comes from the source without a
    copy, so each location costs no more than its path in the arguments.

    Inputs: one.

    Arguments:
        locations (string[]): The paths of the locations that show others; made with their
            ancestors where missing. Required.
        sources (string[]): The paths of the locations to show. Required.
        indices (int[]): The source of each location, from 0. Default: one source for each
            location if there are equally many, otherwise 0 for all.
        keepSources (int): 1 leaves the sources visible at their own places. Default: 0.
    """


def StaticScene(
    *,
    name: str | None = None,
    location: StringArgument | None = None,
    a: GroupArgument | None = None,
    c: GroupArgument | None = None,
    directory: StringArgument | None = None,
) -> Op:
    """Presents a scene that its arguments hold: each location a group of attributes "a" and child
    locations "c".

    Inputs: none.

    Arguments:
        location (string): The path of the location that the arguments describe; its ancestors
            are made without attributes. Default: "/root".
        a (group): The location's attributes. Default: none.
        c (group): Its child locations by name, in delimiter encoding, each a group with "a" and
            "c" of its own. Default: none.
        directory (string): The folder where relative textures are looked for first. Default:
            none.
    """


def Transform(
    input: Op | None = None,
    /,
    *,
    name: str | None = None,
    paths: StringsArgument,
    translate: DoublesArgument | None = None,
    rotate: DoublesArgument | None = None,
    scale: DoublesArgument | None = None,
    matrix: DoublesArgument | None = None,
    order: StringArgument | None = None,
) -> Op:
    """Adds a transform to the locations that match. Of the transforms given, scale acts first on a
    point, then rotate, then translate; matrix before all of them.

    Inputs: one.

    Arguments:
        paths (string[]): Globs of the locations to change: "*" and "?" within a level, "**"
            across levels. Required.
        translate (double[3]): Moves by x, y, z. Default: none.
        rotate (double[4]): Turns by degrees about the axis x, y, z. Default: none.
        scale (double[3]): Scales by x, y, z. Default: none.
        matrix (double[16]): Row-major matrix for row vectors. Default: none.
        order (string): "after" the location's own transform, in its parent's space, or "before"
            it, in its own. Default: "after".
    """
