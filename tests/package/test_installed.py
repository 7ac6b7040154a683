#!/usr/bin/env python3
"""The installed tree, and what users build on it: test_installed.py <settings>"""

import re
import shlex
import subprocess
import unittest

from package_test import PackageTest, files_in, main

LIBRARIES = ("OxAssetHost", "OxConfiguration", "OxLoggingHost", "OxPluginHost", "OxRenderServices",
             "OxTellarProducers", "OxTellarSDK", "OxTellarServicesHost", "ResolutionTableOx")


class InstalledTreeTest(PackageTest):
    """One tree, which was installed below DESTDIR and then moved to where its prefix never was."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.install("/opt/a prefix", DESTDIR=str(cls.folder / "packaged"))
        cls.tree = cls.folder / "moved here"
        (cls.folder / "packaged/opt/a prefix").rename(cls.tree)
        cls.tellar = cls.tree / "bin/tellar"
        cls.examples = cls.tree / "share/OxTellarProducers/examples"

    def test_the_command_opens_the_installed_examples(self):
        output = self.run_program(self.tellar, "walk", self.examples / "garden.json", "--depth", 1)
        self.assertEqual(output, "/root [group]\n├─ world [group]\n└─ materials [group]\n")

    def test_the_command_finds_the_program_that_reads_scene_files(self):
        scene = self.folder / "triangle.obj"
        scene.write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        self.assertIn("[polymesh]", self.run_program(self.tellar, "walk", scene))

    def test_programs_find_the_cmake_package(self):
        # The standard that the user's project asks for is older than the headers.
        renderer = self.folder / "mine.c"
        source = (self.source / "plugins/example_c/example_c.c").read_text()
        renderer.write_text(source.replace('"example"', '"mine"'))
        build = self.folder / "found by CMake"
        self.build_consumer(self.tree, build, "-DCMAKE_CXX_STANDARD=14",
                            f"-DRENDERER_SOURCE={renderer}")
        scene = self.check_consumer(build / "consumer")
        self.assertEqual(self.run_program(build / "walk_c", scene),
                         "/root  \n/root/world  \n/root/world/geo  polymesh\n")
        folder = self.folder / "renderers-by-cmake"
        folder.mkdir()
        (build / "renderer.so").rename(folder / "renderer.so")
        self.check_renderer("mine", OX_PLUGIN_PATH=str(folder))

    def pkg_config(self, *arguments):
        """Words of a shell, as a makefile has them."""
        folder = self.tree / self.settings["libdir"] / "pkgconfig"
        return self.run_program("pkg-config", *arguments, PKG_CONFIG_PATH=str(folder)).strip()

    def compile(self, compiler, flags, output, *sources):
        line = [shlex.quote(self.settings[compiler]), *flags,
                *(shlex.quote(str(source)) for source in sources), "-o", shlex.quote(str(output))]
        self.run_program("sh", "-c", " ".join(line))

    def test_programs_find_the_libraries_by_pkg_config(self):
        consumer = self.source / "tests/package/consumer"
        flags = self.pkg_config("--cflags", "OxTellarProducers")
        libraries = self.pkg_config("--libs", "OxTellarProducers")
        suite = self.folder / "suite.o"
        self.compile("c_compiler", ["-c", flags], suite, consumer / "suite.c")
        program = self.folder / "consumer"
        self.compile("cxx_compiler", ["-std=c++17", flags], program, consumer / "main.cpp", suite,
                     *shlex.split(libraries))
        folder = self.tree / self.settings["libdir"]
        self.assertEqual(self.run_program(program, self.folder / "scene.oxop",
                                          LD_LIBRARY_PATH=str(folder)),
                         "/root/world/geo polymesh\n")

    def test_pkg_config_knows_every_library_and_its_version(self):
        for name in LIBRARIES:
            with self.subTest(library=name):
                self.assertEqual(self.pkg_config("--modversion", name), self.settings["version"])
                self.assertIn(f"-l{name}", self.pkg_config("--libs", name))

    def test_renderers_are_built_without_cmake_from_the_headers_alone(self):
        folder = self.folder / "renderers"
        folder.mkdir()
        source = folder / "mine.c"
        template = self.tree / "share/OxTellarProducers/plugins/example_c/example_c.c"
        source.write_text(template.read_text().replace('"example"', '"mine"'))
        flags = ["-std=c99 -Wall -Wextra -pedantic -Werror -shared -fPIC",
                 "-I", shlex.quote(str(self.tree / "include"))]
        self.compile("c_compiler", flags, folder / "mine.so", source)
        self.check_renderer("mine", OX_PLUGIN_PATH=str(folder))

    def test_the_installed_renderer_is_found(self):
        if not self.settings["renderers"]:
            self.skipTest("the build has no renderers")
        self.check_renderer("example")

    def check_renderer(self, name, **environment):
        picture = self.folder / "garden.txt"
        output = self.run_program(self.tellar, "render", self.examples / "garden.json",
                                  "-o", picture, "--renderer", name, **environment)
        self.assertEqual(output, f"{picture}\n")
        self.assertEqual(picture.read_text().splitlines()[0],
                         "camera /root/world/cam/camera, perspective")

    def test_the_name_of_a_library_changes_with_every_incompatible_version(self):
        major, minor, _ = self.settings["version"].split(".")
        compatible = f"0.{minor}" if major == "0" else major
        for name in LIBRARIES:
            with self.subTest(library=name):
                library = self.tree / self.settings["libdir"] / f"lib{name}.so"
                header = self.run_program("readelf", "-d", library)
                self.assertIn(f"Library soname: [lib{name}.so.{compatible}]", header)

    def test_no_file_names_the_folders_of_the_build(self):
        folders = [str(self.source).encode(), str(self.build).encode()]
        for path in sorted(files_in(self.tree)):
            content = (self.tree / path).read_bytes()
            for folder in folders:
                self.assertFalse(folder in content, f"{path} has {folder}")

    def test_messages_name_their_source_files(self):
        library = self.tree / self.settings["libdir"] / "libOxTellarProducers.so"
        self.assertIn(b"src/Filters/ClientFactory/ClientFactory.cpp\0", library.read_bytes())

    def test_no_exported_file_has_an_absolute_path(self):
        exported = [path for path in files_in(self.tree) if path.endswith((".pc", ".cmake"))]
        self.assertGreater(len(exported), len(LIBRARIES))
        for path in exported:
            # The lines that CMake itself writes there: comments, and where the search for the prefix ends.
            text = re.sub(r"(?m)^\s*#.*$|_IMPORT_PREFIX STREQUAL \"/\"", "",
                          (self.tree / path).read_text())
            self.assertNotRegex(text, r"(?<![\w}.])/[A-Za-z]", path)

    def test_links_between_the_documents_lead_somewhere(self):
        links = 0
        for path in files_in(self.tree / "share"):
            page = self.tree / "share" / path
            if page.suffix != ".md":
                continue
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", page.read_text()):
                if re.match(r"\.\./(include|platform|tests)/", target):
                    continue  # sources; the headers are installed elsewhere
                links += 1
                self.assertTrue((page.parent / target).exists(), f"{path}: {target}")
        self.assertGreater(links, 40)


class ComponentsTest(PackageTest):
    def test_every_file_belongs_to_one_component(self):
        self.install(self.folder / "all")
        parts = {}
        for component in ("runtime", "development", "tools"):
            self.install(self.folder / component, "--component", component)
            parts[component] = files_in(self.folder / component)
        self.assertEqual(set().union(*parts.values()), files_in(self.folder / "all"))
        self.assertEqual(sum(map(len, parts.values())), len(files_in(self.folder / "all")))

        libdir = self.settings["libdir"]
        self.assertIn(f"{libdir}/tellar-plugins/TellarOps.so", parts["runtime"])
        self.assertIn(f"{libdir}/tellar-plugins/tellar-scene-reader", parts["runtime"])
        self.assertEqual([path for path in parts["runtime"] if re.search(r"\.(h|so|cmake)$", path)
                          and "tellar-plugins" not in path], [])
        self.assertIn("include/OxTellarProducers/GeometryProducer.h", parts["development"])
        self.assertIn(f"{libdir}/libOxTellarProducers.so", parts["development"])
        self.assertIn("share/OxTellarProducers/docs/description.schema.json", parts["development"])
        self.assertIn("bin/tellar", parts["tools"])
        self.assertIn("share/OxTellarProducers/examples/garden.json", parts["tools"])


class UninstallTest(PackageTest):
    def test_what_was_installed_goes_and_all_else_stays(self):
        prefix = self.folder / "a prefix"
        manifests = self.install(prefix)
        self.assertIn("bin/tellar", files_in(prefix))
        (prefix / "include/Other").mkdir()
        (prefix / "include/Other/other.h").touch()
        build = self.folder / "build"
        build.mkdir()
        for name, content in manifests.items():
            (build / name).write_bytes(content)

        uninstall = ["-DBUILD_DIR=" + str(build), "-P", self.source / "cmake/Uninstall.cmake"]
        self.cmake(*uninstall)
        self.assertEqual(files_in(prefix), {"include/Other/other.h"})
        left = {str(path.relative_to(prefix)) for path in prefix.rglob("*") if path.is_dir()}
        self.assertEqual(left & {"include/OxTellarSDK", "lib/tellar-plugins",
                                 "share/OxTellarProducers"}, set())
        self.assertIn("bin", left)
        with self.assertRaisesRegex(AssertionError, "Nothing was installed from"):
            self.cmake(*uninstall)

    def test_the_build_has_a_target_for_it(self):
        targets = self.cmake("--build", self.build, "--target", "help")
        self.assertRegex(targets, r"(?m)^uninstall: ")


class StaticLibrariesTest(PackageTest):
    def test_static_libraries_are_refused_with_the_reason(self):
        done = subprocess.run(
            [self.settings["cmake"], "-S", str(self.source), "-B", str(self.folder / "static"),
             "-DBUILD_SHARED_LIBS=OFF"], capture_output=True, text=True, timeout=600)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("the libraries of OxTellarProducers are always shared",
                      " ".join(done.stderr.split()))


if __name__ == "__main__":
    main()
