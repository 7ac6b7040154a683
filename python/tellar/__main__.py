"""Runs the command ``tellar`` that comes with the package."""

from __future__ import annotations

import os
import sys
from pathlib import Path


def command_path() -> Path:
    """The command of the package, or that of the build tree that the package lies in."""
    here = Path(__file__).resolve().parent
    candidates = [here / "bin" / "tellar", here.parent.parent / "bin" / "tellar"]
    for candidate in candidates:
        if candidate.is_file():
            return candidate
    raise FileNotFoundError(f"the command tellar is not at {candidates[0]}")


def main() -> None:
    """Becomes the command, with the arguments of this process."""
    os.environ.setdefault("TELLAR_PYTHON", sys.executable)
    path = str(command_path())
    os.execv(path, [path, *sys.argv[1:]])


if __name__ == "__main__":
    main()
