#!/usr/bin/env python3
"""The Debian package that cpack makes, unpacked elsewhere: test_debian.py <settings>"""

import re
import unittest

from package_test import PackageTest, files_in, main


class DebianPackageTest(PackageTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.run_program(cls.settings["cpack"], "--config", cls.build / "CPackConfig.cmake",
                        "-C", cls.settings["config"], "-B", cls.folder / "packages")
        cls.package, = (cls.folder / "packages").glob("*.deb")
        cls.tree = cls.folder / "unpacked"
        cls.run_program("dpkg", "-x", cls.package, cls.tree)

    def field(self, name):
        return self.run_program("dpkg-deb", "-f", self.package, name).strip()

    def test_the_file_and_the_fields_name_the_package(self):
        self.assertEqual(self.field("Package"), "oxtellarproducers")
        self.assertEqual(self.field("Version"), self.settings["version"])
        self.assertEqual(self.package.name,
                         f"oxtellarproducers_{self.settings['version']}_"
                         f"{self.field('Architecture')}.deb")
        self.assertTrue(self.field("Maintainer"))

    def test_it_depends_on_the_libraries_that_ours_are_linked_to(self):
        names = set(re.findall(r"[^\s,(|]+(?=[ ,]|$)", self.field("Depends")))
        for library in ("libc6", "libstdc++6", "libzstd1"):
            self.assertIn(library, names)
        self.assertTrue([name for name in names if name.startswith("libassimp")], names)
        self.assertFalse([name for name in names if "oxtellar" in name.lower()], names)

    def test_it_has_the_licence_and_all_components(self):
        files = files_in(self.tree)
        for path in ("usr/share/doc/oxtellarproducers/copyright", "usr/bin/tellar",
                     "usr/share/man/man1/tellar-walk.1",
                     "usr/share/bash-completion/completions/tellar",
                     "usr/share/zsh/site-functions/_tellar",
                     "usr/share/fish/vendor_completions.d/tellar.fish",
                     "usr/include/OxTellarProducers/GeometryProducer.h",
                     "usr/share/OxTellarProducers/examples/garden.json"):
            self.assertIn(path, files)
        self.assertEqual({path.split("/")[0] for path in files}, {"usr"})

    def test_its_command_opens_the_garden_and_draws_it(self):
        tellar = self.tree / "usr/bin/tellar"
        garden = self.tree / "usr/share/OxTellarProducers/examples/garden.json"
        self.assertEqual(self.run_program(tellar, "walk", garden, "--depth", 1),
                         "/root [group]\n├─ world [group]\n└─ materials [group]\n")
        if self.settings["renderers"]:
            picture = self.folder / "garden.png"
            self.run_program(tellar, "render", garden, "-o", picture, "--samples", 1,
                             "--resolution", "square_512", "--crop", "0.4,0.6,0.4,0.6")
            self.assertEqual(picture.read_bytes()[:4], b"\x89PNG")


if __name__ == "__main__":
    main()
