"""Scenes, locations and their attributes."""

from __future__ import annotations

import gc
import pickle
import threading
from collections.abc import Callable
from pathlib import Path

import numpy as np
import pytest

import tellar

LAWN = "/root/world/garden/ground/lawn/lawn"


def test_a_scene_opens_from_a_text_and_from_a_path(examples: Path) -> None:
    scene = tellar.open(str(examples / "garden.json"))
    assert scene.identity == tellar.open(examples / "garden.json").identity
    assert scene.revision == 0
    assert repr(scene).startswith("<Scene of ")
    assert list(scene.description)[0] == "garden"


def test_a_file_that_is_not_there_is_an_error_with_its_name(tmp_path: Path) -> None:
    missing = tmp_path / "missing.json"
    with pytest.raises(tellar.FileError, match="No such file") as caught:
        tellar.open(missing)
    assert caught.value.file == str(missing)
    assert isinstance(caught.value, OSError)


@pytest.mark.parametrize("content", [b"", b"{", b"\x00\xff" * 100, b'{"ops": []}'])
def test_a_damaged_file_is_an_error_that_names_it(tmp_path: Path, content: bytes) -> None:
    path = tmp_path / "damaged.json"
    path.write_bytes(content)
    with pytest.raises(tellar.Error, match="damaged.json"):
        scene = tellar.open(path)
        list(scene.walk())


def test_a_folder_and_a_wrong_type_are_refused(tmp_path: Path) -> None:
    with pytest.raises(tellar.FileError):
        tellar.open(tmp_path)
    with pytest.raises(TypeError):
        tellar.open(3)  # type: ignore[arg-type]


def test_locations_are_found_by_path(garden: tellar.Scene) -> None:
    lawn = garden[LAWN]
    assert (lawn.name, lawn.path, lawn.type) == ("lawn", LAWN, "polymesh")
    assert LAWN in garden
    assert "/root/nothing" not in garden
    assert 3 not in garden
    assert garden.get("/root/nothing") is None
    assert garden.get("relative") is None
    assert garden.root.path == "/root"
    with pytest.raises(tellar.NotFoundError, match="/root/nothing") as caught:
        garden["/root/nothing"]
    assert caught.value.location == "/root/nothing"
    assert isinstance(caught.value, KeyError)


def test_a_location_knows_its_way(garden: tellar.Scene) -> None:
    lawn = garden[LAWN]
    assert lawn.parent is not None
    assert lawn.parent.path == "/root/world/garden/ground/lawn"
    assert lawn.root == garden.root
    assert garden.root.parent is None
    assert lawn.find("..") == lawn.parent
    assert lawn.find("/root") == garden.root
    assert lawn.find("nothing") is None
    ground = lawn.find("../..")
    assert ground is not None and ground.name == "ground"
    assert ground.find("lawn/lawn") == lawn
    assert hash(lawn) == hash(garden[LAWN])
    assert lawn != lawn.parent
    assert lawn != "lawn"
    assert repr(lawn) == f"<Location {LAWN} [polymesh]>"


def test_children_are_computed_when_asked_for(garden: tellar.Scene) -> None:
    children = garden.root.children
    assert children.names == ["world", "materials"]
    assert [child.name for child in children][:1] == ["world"]
    assert children["world"].path == "/root/world"
    assert "world" in children and "nothing" not in children and 1 not in children
    assert children.get("nothing") is None
    for name in ("", ".", "..", "world/garden"):
        assert children.get(name) is None
    with pytest.raises(tellar.NotFoundError):
        children["nothing"]
    assert repr(children) == "<Children of /root, 2 names>"
    ended = iter(garden[LAWN].children)
    for _ in range(2):
        with pytest.raises(StopIteration):
            next(ended)


def test_attributes_are_values(garden: tellar.Scene) -> None:
    lawn = garden[LAWN]
    points = lawn["geometry.point.P"]
    assert isinstance(points, np.ndarray)
    assert points.dtype == np.float32 and points.ndim == 2 and points.shape[1] == 3
    assert lawn["type"] == "polymesh"
    assert "geometry.point.P" in lawn and "nothing" not in lawn
    assert lawn.get("nothing") is None
    assert lawn.get("nothing", 7) == 7
    assert lawn.attribute("nothing") is None
    assert lawn.attribute_names == sorted(lawn.attributes)
    with pytest.raises(tellar.NotFoundError, match="nothing") as caught:
        lawn["nothing"]
    assert (caught.value.location, caught.value.attribute) == (LAWN, "nothing")


def test_arrays_cannot_be_written_and_outlive_their_scene(examples: Path) -> None:
    scene = tellar.open(examples / "garden.json")
    points = scene[LAWN]["geometry.point.P"]
    assert isinstance(points, np.ndarray)
    copy = points.copy()
    with pytest.raises(ValueError):
        points[0] = 0
    again = scene[LAWN]["geometry.point.P"]
    assert isinstance(again, np.ndarray)
    assert np.shares_memory(points, again)
    del scene, again
    gc.collect()
    assert np.array_equal(points, copy)


def test_matrices_and_bounds(garden: tellar.Scene) -> None:
    stone = garden["/root/world/garden/path/stone_01/stepping_stone"]
    world, local = stone.world_matrix(), stone.local_matrix()
    assert world.shape == (4, 4) and world.dtype == np.float64
    assert stone.parent is not None
    assert np.allclose(local @ stone.parent.world_matrix(time=0.0), world)
    bound = garden[LAWN].bound
    assert bound is not None and bound.shape == (6,)
    assert garden.root.bound is None
    assert stone.transform_times == sorted(stone.transform_times)


def test_global_attributes_and_materials(garden: tellar.Scene) -> None:
    lawn = garden[LAWN]
    assert garden.root.material() is None
    material = lawn.material()
    assert material is not None and len(material.layers) >= 1
    flat = material.flattened("surface")
    assert flat["style"] == "network"
    assert repr(material) == "<Material of 1 layer>"
    with pytest.raises(TypeError):
        material.flattened(1)  # type: ignore[arg-type]
    assert lawn.global_attribute("nothing") is None
    assigned = lawn.global_attribute("materialAssign")
    assert isinstance(assigned, tellar.Attribute) and assigned.type == "string"


def test_cameras_project_points(garden: tellar.Scene) -> None:
    camera = garden.camera()
    assert camera.path == "/root/world/cam/camera"
    assert camera.resolution("square_512") == (512, 512)
    assert camera.resolution((20, 10)) == (20, 10)
    assert camera.resolution() == camera.resolution(None)
    middle = camera.world_matrix[3, :3] - 5 * camera.world_matrix[2, :3]
    behind = camera.world_matrix[3, :3] + camera.world_matrix[2, :3]
    pixels = camera.project([middle, behind], resolution=(200, 100))
    assert np.allclose(pixels[0, :2], (100, 50), atol=1e-4)
    assert 0 < pixels[0, 2] < 1
    assert np.isnan(pixels[1]).all()
    assert camera.project(np.zeros((0, 3))).shape == (0, 3)
    assert camera.projection_matrix(aspect=2).shape == (4, 4)
    assert camera.near < camera.far and not camera.is_orthographic
    assert camera.window == (-1, 1, -1, 1) and camera.fov == 45
    assert camera.orthographic_width == 0
    for wrong in ("no_such", (0, 3), (1, 2, 3)):
        with pytest.raises(tellar.BadCallError):
            camera.resolution(wrong)  # type: ignore[arg-type]
    with pytest.raises(tellar.BadCallError, match=r"\(n, 3\)"):
        camera.project([[1, 2]])
    with pytest.raises(tellar.NotFoundError, match="/root/world"):
        garden.camera("/root/world")


def test_all_threads_may_use_one_scene(garden: tellar.Scene) -> None:
    expected = {location.path: location.hash for location in garden.walk()}
    results: list[dict[str, str]] = []

    def work() -> None:
        results.append({location.path: location.hash for location in garden.walk(threads=2)})

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [expected] * 8


def test_errors_keep_their_fields_when_they_are_pickled() -> None:
    error = tellar.CookError("text", op="a", op_type="B", op_place="c:1:2", location="/root",
                             attribute="x", file="f")
    again = pickle.loads(pickle.dumps(error))
    assert type(again) is tellar.CookError
    assert str(again) == "text"
    assert vars(again) == vars(error)


def test_a_location_that_cannot_be_computed_tells_the_op(tmp_path: Path) -> None:
    path = tmp_path / "broken.json"
    path.write_text('{"ops": [{"name": "no", "type": "NoSuchType"}]}')
    scene = tellar.open(path)
    with pytest.raises(tellar.CookError) as caught:
        scene["/root"]
    assert (caught.value.op, caught.value.op_type) == ("no", "NoSuchType")
    assert caught.value.location == "/root"
    assert caught.value.op_place.endswith("broken.json:1:10")


def test_walking_does_not_grow(garden: tellar.Scene, resident_bytes: Callable[[], int]) -> None:
    def read() -> None:
        for location in garden.walk("/root/world", types=["polymesh"]):
            location["geometry.point.P"], location.name, location.world_matrix()

    for _ in range(20):
        read()
    before = resident_bytes()
    for _ in range(100):
        read()
    assert resident_bytes() - before < 8 << 20
