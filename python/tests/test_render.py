"""Pictures."""

from __future__ import annotations

import threading
from pathlib import Path

import pytest

import tellar

TINY = (32, 24)


def test_a_scene_is_drawn(garden: tellar.Scene, tmp_path: Path) -> None:
    steps: list[float] = []
    picture = tellar.render(garden, tmp_path / "a.png", samples=1, resolution=TINY,
                            progress=lambda part, step: steps.append(part))
    assert picture == tmp_path / "a.png"
    assert picture.read_bytes()[:4] == b"\x89PNG"
    assert steps and steps == sorted(steps) and steps[-1] <= 1


def test_a_model_without_camera_and_light_is_framed(examples: Path, tmp_path: Path) -> None:
    scene = tellar.open(examples / "garden.gltf")
    picture = tellar.render(scene, str(tmp_path / "a.png"), samples=1, resolution="32x32")
    assert picture.stat().st_size > 0


def test_progress_goes_to_standard_error(garden: tellar.Scene, tmp_path: Path,
                                         capsys: pytest.CaptureFixture[str]) -> None:
    tellar.render(garden, tmp_path / "a.png", samples=1, resolution=TINY, progress=True)
    shown = capsys.readouterr()
    assert "%" in shown.err and shown.out == ""


@pytest.mark.parametrize(
    ("options", "text"),
    [
        ({"renderer": "nobody"}, "there is no renderer \"nobody\""),
        ({"light": "candle"}, "candle"),
        ({"camera": "/root/nothing"}, "/root/nothing"),
        ({"resolution": "no_such"}, "no_such"),
        ({"samples": -1}, "negative"),
    ],
)
def test_bad_arguments_are_named(garden: tellar.Scene, tmp_path: Path, options: dict[str, object],
                                 text: str) -> None:
    with pytest.raises(tellar.Error, match=text):
        tellar.render(garden, tmp_path / "a.png", **options)  # type: ignore[arg-type]
    assert not (tmp_path / "a.png").exists()


def test_a_picture_that_cannot_be_written(garden: tellar.Scene, tmp_path: Path) -> None:
    with pytest.raises(tellar.Error, match="nowhere"):
        tellar.render(garden, tmp_path / "nowhere" / "a.png", samples=1, resolution=TINY)


def test_an_exception_of_the_caller_ends_the_render(garden: tellar.Scene, tmp_path: Path) -> None:
    def stop(part: float, step: str) -> None:
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        tellar.render(garden, tmp_path / "a.png", samples=4096, progress=stop)
    assert not (tmp_path / "a.png").exists()


def broken_scene(folder: Path) -> tellar.Scene:
    path = folder / "broken.json"
    path.write_text("""{"ops": [
        {"name": "ball", "type": "StaticScene", "args": {"c": {"ball": {
            "a": {"type": "sphere", "geometry": {"radius": 1.0}}}}}},
        {"name": "file", "type": "SceneImport", "args": {
            "file": "/nothing.ply", "location": "/root/world/file"}},
        {"name": "all", "type": "Merge", "inputs": ["ball", "file"]},
        {"name": "camera", "type": "Camera", "inputs": ["all"], "args": {
            "translate": [0, 0, 5]}}]}""")
    return tellar.open(path)


def test_locations_that_fail_are_told(tmp_path: Path) -> None:
    scene = broken_scene(tmp_path)
    with pytest.warns(tellar.RenderWarning, match="could not be computed"):
        tellar.render(scene, tmp_path / "a.png", samples=1, resolution=TINY)
    with pytest.raises(tellar.CookError, match="nothing.ply"):
        tellar.render(scene, tmp_path / "b.png", samples=1, resolution=TINY, strict=True)
    assert not (tmp_path / "b.png").exists()


def test_other_threads_work_while_a_picture_is_drawn(garden: tellar.Scene, tmp_path: Path) -> None:
    counted = [0]
    is_done = threading.Event()

    def count() -> None:
        while not is_done.is_set():
            counted[0] += 1

    thread = threading.Thread(target=count)
    thread.start()
    try:
        tellar.render(garden, tmp_path / "a.png", samples=2, resolution=TINY)
    finally:
        is_done.set()
        thread.join()
    assert counted[0] > 0
