#!/usr/bin/env python3
"""Projects that build the library with their own sources: test_subproject.py <settings>"""

import unittest

from package_test import PackageTest, main, remove


class SubprojectTest(PackageTest):
    """Both routes in one build folder and without optimisation: they compile the same files."""

    def configure(self, route, *arguments):
        self.cmake("-S", self.source / "tests/package/parent", "-B", self.folder / "build",
                   "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", f"-DTELLAR_ROUTE={route}",
                   f"-DTELLAR_SOURCE_DIR={self.source}", *arguments)

    def test_a_project_takes_the_library_in(self):
        # Nothing but the program is asked for, and yet the op types are there when it runs.
        self.configure("FetchContent")
        self.cmake("--build", self.folder / "build", "--target", "consumer", "--parallel", 2)
        self.check_consumer(self.folder / "build/programs/consumer")

        self.configure("add_subdirectory", "-DTELLAR_INSTALL=ON", "-DCMAKE_INSTALL_LIBDIR=lib64")
        self.cmake("--build", self.folder / "build", "--parallel", 2)
        self.check_consumer(self.folder / "build/programs/consumer")
        tree = self.folder / "installed"
        self.cmake("--install", self.folder / "build", "--prefix", tree)
        remove(self.folder / "build")
        self.check_consumer(tree / "bin/consumer")
        self.assertTrue((tree / "lib64/tellar-plugins/TellarOps.so").exists())
        self.assertFalse((tree / "lib").exists())
        folder = tree / "lib64/pkgconfig"
        flags = self.run_program("pkg-config", "--libs", "--cflags", "OxTellarProducers",
                                 PKG_CONFIG_PATH=str(folder))
        self.assertIn(f"-L{folder}/../../lib64 ", flags)
        # Not every system looks into lib64 of itself.
        self.build_consumer(tree, self.folder / "consumer build",
                            f"-DOxTellarProducers_DIR={tree}/lib64/cmake/OxTellarProducers")
        self.check_consumer(self.folder / "consumer build/consumer")


if __name__ == "__main__":
    main()
