"""What the tests of the package share."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path


class PackageTest(unittest.TestCase):
    """Has a folder for all of its tests, and runs programs in an environment of its own."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.settings = json.loads(Path(os.environ["TELLAR_PACKAGE_SETTINGS"]).read_text())
        cls.source = Path(cls.settings["source"])
        cls.build = Path(cls.settings["build"])
        holder = tempfile.TemporaryDirectory(prefix="tellar-test-")
        cls.addClassCleanup(holder.cleanup)
        # The temporary folder itself may be reached through a link.
        cls.folder = Path(holder.name).resolve()

    @classmethod
    def run_program(cls, *command, **environment):
        """Standard output of a program that must succeed. It is not run in a folder of ours."""
        inherited = {name: value for name, value in os.environ.items()
                     if not name.startswith("OX_") and name != "DESTDIR"}
        done = subprocess.run([str(part) for part in command], capture_output=True, text=True,
                              env={**inherited, **environment}, cwd="/", timeout=1200)
        if done.returncode != 0:
            raise AssertionError(f"{command} ended with {done.returncode}:\n"
                                 f"{done.stdout}{done.stderr}")
        return done.stdout

    @classmethod
    def cmake(cls, *arguments, **environment):
        return cls.run_program(cls.settings["cmake"], *arguments, **environment)

    @classmethod
    def install(cls, prefix, *arguments, **environment):
        """Installs the build, and leaves in the build folder what tells of other installations."""
        manifests = list(cls.build.glob("install_manifest*.txt"))
        kept = {manifest: manifest.read_bytes() for manifest in manifests}
        cls.cmake("--install", cls.build, "--config", cls.settings["config"],
                  "--prefix", prefix, *arguments, **environment)
        ours = {}
        for manifest in cls.build.glob("install_manifest*.txt"):
            if kept.get(manifest) != manifest.read_bytes():
                ours[manifest.name] = manifest.read_bytes()
                manifest.unlink()
        for manifest, content in kept.items():
            manifest.write_bytes(content)
        return ours

    def build_consumer(self, prefix, build, *arguments):
        """Builds the project of a user who finds the CMake package under this prefix."""
        self.cmake("-S", self.source / "tests/package/consumer", "-B", build, "-G", "Ninja",
                   f"-DCMAKE_PREFIX_PATH={prefix}",
                   f"-DCMAKE_BUILD_TYPE={self.settings['config']}",
                   f"-DEXAMPLES_DIR={self.source / 'examples'}", *arguments)
        self.cmake("--build", build)

    def check_consumer(self, program):
        """The program of a user writes a scene, opens it, and finds the op type that it needs."""
        scene = self.folder / "scene.oxop"
        self.assertEqual(self.run_program(program, scene), "/root/world/geo polymesh\n")
        return scene


def files_in(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def remove(folder):
    shutil.rmtree(folder)


def main():
    """test_*.py <settings> [arguments of unittest...]"""
    os.environ["TELLAR_PACKAGE_SETTINGS"] = sys.argv.pop(1)
    unittest.main()
