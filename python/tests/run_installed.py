"""Installs the wheel into a new virtual environment, outside of the source tree, and runs the tests
with it:

    run_installed.py <environment with the packages for tests> <folder of the wheel> <tests...>

The new environment sees the packages of the other one, but not the source tree or the build.
"""

from __future__ import annotations

import os
import subprocess
import sys
import tempfile
import venv
from pathlib import Path


def only_wheel(folder: Path) -> Path:
    wheels = list(folder.glob("*.whl"))
    if len(wheels) != 1:
        sys.exit(f"there are {len(wheels)} wheels in {folder}; scripts/wheel.sh makes one")
    return wheels[0]


def packages_of(environment: Path) -> Path:
    version = f"python{sys.version_info.major}.{sys.version_info.minor}"
    return environment / "lib" / version / "site-packages"


def clean_environment(home: Path) -> dict[str, str]:
    names = ("PYTHONPATH", "LD_LIBRARY_PATH", "OX_PLUGIN_PATH", "TELLAR_PYTHON")
    kept = {name: value for name, value in os.environ.items() if name not in names}
    return {**kept, "PATH": f"{home / 'bin'}{os.pathsep}{os.environ['PATH']}"}


def main() -> int:
    environment, wheels = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
    tests = [os.path.abspath(test) for test in sys.argv[3:]]
    with tempfile.TemporaryDirectory() as folder:
        home = Path(folder) / "installed"
        venv.create(home, with_pip=True)
        python = str(home / "bin" / "python")
        variables = clean_environment(home)
        pip = [python, "-m", "pip", "--quiet", "--disable-pip-version-check"]
        subprocess.run([*pip, "install", "--no-deps", "--no-index", str(only_wheel(wheels))],
                       check=True, env=variables, cwd=folder)
        (packages_of(home) / "tests.pth").write_text(f"{packages_of(environment)}\n")
        pytest = [python, "-B", "-m", "pytest", "-q", "-p", "no:cacheprovider"]
        return subprocess.run([*pytest, *tests], env=variables, cwd=folder).returncode


if __name__ == "__main__":
    sys.exit(main())
