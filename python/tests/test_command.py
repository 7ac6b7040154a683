"""The command that comes with the package, and the package as it is installed."""

from __future__ import annotations

import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import tellar
from tellar.__main__ import command_path


def run(*arguments: str, python: str = sys.executable) -> subprocess.CompletedProcess[str]:
    return subprocess.run([python, "-m", "tellar", *arguments], capture_output=True, text=True)


def test_the_command_runs(examples: Path) -> None:
    walked = run("walk", str(examples / "garden.json"), "--depth", "1")
    assert (walked.returncode, walked.stderr) == (0, "")
    assert walked.stdout.splitlines()[0] == "/root [group]"
    assert run("walk", "/nothing").returncode == 2


def test_an_installed_package_has_the_command_on_the_path() -> None:
    if not (Path(tellar.__file__).parent / "bin").is_dir():
        pytest.skip("this is a build tree")
    found = shutil.which("tellar", path=str(Path(sys.executable).parent))
    assert found is not None
    version = subprocess.run([found, "--version"], capture_output=True, text=True)
    assert version.stdout.startswith("tellar ")
    assert command_path().parent == Path(tellar.__file__).parent / "bin"


def test_renderers_and_op_types_come_with_the_package() -> None:
    doctor = run("doctor").stdout
    for name in ("StaticScene", "SceneImport", "lantern"):
        assert name in doctor


def test_libraries_that_the_host_has_are_not_loaded_twice() -> None:
    """A program that has loaded the libraries before it starts Python."""
    program = """
import ctypes, pathlib, sys
folder = pathlib.Path(sys.argv[1])
candidates = [folder / "lib", folder.parent.parent / "lib"]
libraries = next(c for c in candidates if c.is_dir())
for name in ("OxTellarSDK", "OxTellarProducers"):
    ctypes.CDLL(str(sorted(libraries.glob(f"lib{name}.so.*"))[0]), mode=ctypes.RTLD_GLOBAL)
import tellar
maps = pathlib.Path("/proc/self/maps").read_text().split()
for name in ("OxTellarSDK", "OxTellarProducers"):
    files = {word for word in maps if f"lib{name}.so" in word}
    assert len(files) == 1, files
print("once")
"""
    folder = str(Path(tellar.__file__).parent)
    done = subprocess.run([sys.executable, "-c", program, folder], capture_output=True, text=True)
    assert (done.stdout, done.stderr) == ("once\n", "")


def test_a_process_ends_well_with_everything_in_use(examples: Path) -> None:
    program = f"""
import tellar, threading
scene = tellar.open({str(examples / "million.json")!r})
walk = scene.walk(threads=2)
location = next(walk)
kept = [location.children, location.attributes, scene.camera]
def work():
    for each in scene.walk(threads=2): pass
threading.Thread(target=work, daemon=True).start()
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")


def test_nothing_is_left_when_a_program_has_let_go(examples: Path, tmp_path: Path) -> None:
    program = f"""
import tellar
tellar._tellar._set_leak_warnings(True)
scene = tellar.open({str(examples / "garden.json")!r})
for location in scene.walk("/root/world", types=["polymesh"]):
    points = location["geometry.point.P"]
    material = location.material().flattened("surface")
child = scene.root.children["world"]
pixels = scene.camera().project(points)
abandoned = scene.walk()
next(abandoned)
def refuse(error): raise error
handled = list(scene.walk(on_error=refuse))
tellar.render(scene, {str(tmp_path / "a.png")!r}, samples=1, resolution=(8, 8))
try: scene["/root/nothing"]
except KeyError as error: failed = error
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")


def test_the_command_imports_usd(tmp_path: Path) -> None:
    pytest.importorskip("pxr")
    stage = tmp_path / "ball.usda"
    stage.write_text('#usda 1.0\ndef Xform "kit" {\n    def Sphere "ball" {}\n}\n')
    for name in ("ball.oxop", "ball.json"):
        done = run("usd", "import", str(stage), str(tmp_path / name), "--at", "/root/world/set")
        assert (done.returncode, done.stdout) == (0, "")
        assert "2 prims" in done.stderr
        assert "/root/world/set/kit/ball" in tellar.open(tmp_path / name)
    assert (tmp_path / "ball.json").read_text().startswith("{")


def test_the_command_exports_usd(examples: Path, tmp_path: Path) -> None:
    pytest.importorskip("pxr")
    stage, back = tmp_path / "garden.usdc", tmp_path / "garden.oxop"
    done = run("usd", "export", str(examples / "garden.json"), str(stage), "--frames", "0:48")
    assert (done.returncode, done.stdout) == (0, "")
    assert run("usd", "import", str(stage), str(back)).returncode == 0
    assert "/root/world/garden/pond/boat/sail/boat_sail" in tellar.open(back)
    for frames in ("a:b", "2:1"):
        wrong = run("usd", "export", str(examples / "garden.json"), str(stage), "--frames", frames)
        assert wrong.returncode == 2 and "frame" in wrong.stderr
    assert run("usd", "export", str(tmp_path / "missing.json"), str(stage)).returncode == 2


def test_the_command_tells_what_is_wrong_with_an_import(tmp_path: Path) -> None:
    pytest.importorskip("pxr")
    stage = tmp_path / "ball.usda"
    stage.write_text("#usda 1.0\ndef Sphere")
    for arguments, text in (
        ([str(tmp_path / "missing.usda")], "missing.usda"),
        ([str(stage)], "ball.usda"),
        ([str(stage), "--variant", "kit"], "PRIM:SET=NAME"),
    ):
        done = run("usd", "import", arguments[0], str(tmp_path / "out.oxop"), *arguments[1:])
        assert (done.returncode, done.stdout) == (2, "")
        assert text in done.stderr and done.stderr.startswith("tellar: ")
    assert not (tmp_path / "out.oxop").exists()


def test_the_command_says_what_to_install() -> None:
    program = """
import sys
sys.modules["pxr"] = None  # as where usd-core is missing
from tellar.usd.__main__ import main
sys.exit(main(["import", "a.usda", "b.oxop"]))
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "tellar: the USD bridge needs usd-core: pip install 'tellar[usd]'\n"


def test_a_location_is_shown_in_notebooks(garden: tellar.Scene) -> None:
    def shown(path: str) -> str:
        text = getattr(garden[path], "_repr_html_")()  # notebooks look for it by this name
        assert isinstance(text, str)
        return text

    sail = shown("/root/world/garden/pond/boat/sail/boat_sail")
    assert "<code>/root/world/garden/pond/boat/sail/boat_sail</code> polymesh" in sail
    assert "materialAssign" in sail and "data:image/png;base64," in sail
    root = shown("/root")
    assert "<li><code>world</code> group</li>" in root and "<img" not in root
    assert "more</li>" in shown("/root/materials")
