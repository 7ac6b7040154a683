"""The type stubs are those of the module, and a strict type checker accepts the package."""

from __future__ import annotations

import importlib.util
import os
import subprocess
import sys
from pathlib import Path
from types import ModuleType

import pytest

import tellar

TESTS = Path(__file__).resolve().parent
PACKAGE = Path(tellar.__file__).resolve().parent


def load_make_stubs() -> ModuleType:
    spec = importlib.util.spec_from_file_location("make_stubs", TESTS.parent / "make_stubs.py")
    assert spec and spec.loader
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def test_stubs_are_what_make_stubs_writes() -> None:
    pytest.importorskip("nanobind")  # whose generator make_stubs.py uses
    for name, text in load_make_stubs().stubs().items():
        assert (PACKAGE / name).read_text(encoding="utf-8") == text, name


def run_mypy(*arguments: str) -> None:
    """Runs mypy on files that use the package as it is installed or built."""
    environment = dict(os.environ)
    # mypy finds installed packages by itself, and refuses to be told of their folder.
    if "site-packages" not in PACKAGE.parts:
        environment["MYPYPATH"] = str(PACKAGE.parent)
    configuration = str(TESTS / "mypy.ini")
    command = [sys.executable, "-m", "mypy", "--config-file", configuration, *arguments]
    done = subprocess.run(
        command, env=environment, cwd=TESTS, capture_output=True, text=True, check=False
    )
    assert done.returncode == 0, done.stdout + done.stderr


def test_the_package_is_typed_strictly() -> None:
    run_mypy("-p", "tellar")


def test_the_tests_are_typed_strictly() -> None:
    run_mypy(*(str(path) for path in sorted(TESTS.glob("*.py"))))


def test_an_example_is_typed_strictly_and_runs(examples: Path, tmp_path: Path) -> None:
    run_mypy(str(examples / "fade.py"))
    written = tmp_path / "faded.oxop"
    done = subprocess.run(
        [sys.executable, str(examples / "fade.py"), str(written)], capture_output=True, text=True
    )
    expected = "/root/world/ball 0.75\n/root/world/tall 0.25\n"
    assert (done.returncode, done.stdout, done.stderr) == (0, expected, "")
    assert tellar.open(written).op().type == "FadeByHeight"


def test_a_wrong_call_is_found(tmp_path: Path) -> None:
    wrong = tmp_path / "wrong.py"
    wrong.write_text("import tellar\n\nscene: int = tellar.open('a.json')\n", encoding="utf-8")
    with pytest.raises(AssertionError, match="Incompatible types in assignment"):
        run_mypy(str(wrong))
