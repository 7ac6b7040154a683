#!/usr/bin/env python3
"""`tellar help`, the manual pages and `tellar completion`, which all come from the parser's tables.

    test_help.py PROGRAM EXAMPLES_FOLDER
"""

import re
import shutil
import subprocess
import unittest

from tellar_test import TellarTest, main

# Completes the words that follow the script, and prints the choices on one line.
BASH = """source "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
_tellar; printf '%s ' "${COMPREPLY[@]}"
"""

# Prints what the script hands to the functions of zsh for the words that follow it.
ZSH = """compdef() { }
_describe() { print -l -- $commands }
_arguments() { print -l -- "$@" }
source $1; shift
words=("$@"); CURRENT=$#
_tellar
"""


class HelpTest(TellarTest):
    def subcommands(self):
        listed = self.tellar("--help").split("Subcommands:\n")[1].split("\n\n")[0]
        return [line.split()[0] for line in listed.splitlines()]

    def test_help_of_a_subcommand_is_that_of_its_option(self):
        for name in self.subcommands():
            with self.subTest(name):
                self.assertEqual(self.tellar("help", name), self.tellar(name, "--help"))

    def test_help_alone_is_that_of_the_command(self):
        self.assertEqual(self.tellar("help"), self.tellar("--help"))

    def test_help_about_an_unknown_subcommand_names_similar_ones(self):
        self.assert_fails('COMMAND: there is no subcommand "wlak"; did you mean "walk"?',
                          "help", "wlak")
        self.assert_fails('COMMAND: there is no subcommand "paint"; "tellar help" lists them',
                          "help", "paint")

    def test_every_subcommand_has_a_manual_page_with_its_options(self):
        self.assertEqual(self.tellar("help", "--man-pages", "man"), "")
        pages = {path.name: path.read_text() for path in (self.folder / "man").iterdir()}
        self.assertEqual(set(pages), {"tellar.1"} | {f"tellar-{name}.1"
                                                     for name in self.subcommands()})
        for name in self.subcommands():
            with self.subTest(name):
                options = set(re.findall(r"--[a-z-]+", self.tellar(name, "--help").split(
                    "Examples:")[0]))
                page = pages[f"tellar-{name}.1"].replace("\\-", "-")
                self.assertEqual(options - set(re.findall(r"--[a-z-]+", page)), set())
                self.assertIn(f"tellar-{name} ", pages["tellar.1"].replace("\\-", "-"))

    def test_pages_have_the_date_of_the_source(self):
        self.tellar("help", "--man-pages", "man", SOURCE_DATE_EPOCH="86400")
        head = (self.folder / "man/tellar-walk.1").read_text().splitlines()[0]
        self.assertRegex(head, r'^\.TH TELLAR-WALK 1 1970-01-02 "tellar \d+\.\d+\.\d+"$')

    def test_pages_are_not_written_over_a_file(self):
        self.write("man", "mine")
        self.assert_fails_with("--man-pages: \"man\"", "help", "--man-pages", "man")
        self.assertEqual((self.folder / "man").read_text(), "mine")

    @unittest.skipUnless(shutil.which("mandoc"), "there is no mandoc")
    def test_pages_are_well_formed(self):
        self.tellar("help", "--man-pages", "man")
        pages = sorted((self.folder / "man").iterdir())
        done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", *pages],
                              capture_output=True, text=True)
        self.assertEqual(done.stdout, "")


class CompletionTest(TellarTest):
    def script(self, shell):
        return self.write("completion", self.tellar("completion", shell))

    def run_shell(self, *command):
        done = subprocess.run(command, capture_output=True, text=True, cwd=self.folder, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""), command)
        return done.stdout

    def bash(self, *words):
        return self.run_shell("bash", "--norc", "-c", BASH, "bash", self.folder / "completion",
                              *words).split()

    def test_bash_completes_subcommands_options_values_and_files(self):
        self.script("bash")
        self.write("scene.json", "")
        self.assertEqual(self.bash("tellar", "wa"), ["walk"])
        self.assertEqual(self.bash("tellar", "--ver"), ["--version"])
        self.assertEqual(self.bash("tellar", "walk", "--de"), ["--depth"])
        self.assertEqual(self.bash("tellar", "walk", "--variant", ""),
                         ["sync", "async", "thread-aware"])
        self.assertEqual(self.bash("tellar", "walk", "--variant", "=", "th"), ["thread-aware"])
        self.assertEqual(self.bash("tellar", "walk", "sc"), ["scene.json"])
        self.assertEqual(self.bash("tellar", "render", "scene.json", "-o", "sc"), ["scene.json"])
        self.assertEqual(self.bash("tellar", "walk", "--depth", ""), [])
        self.assertEqual(self.bash("tellar", "help", "conv"), ["convert"])

    @unittest.skipUnless(shutil.which("zsh"), "there is no zsh")
    def test_zsh_is_told_of_subcommands_options_and_choices(self):
        def zsh(*words):
            return self.run_shell("zsh", "-f", "-c", ZSH, "zsh", self.script("zsh"), *words)
        self.assertIn("walk:Print the locations of a scene as a tree\n", zsh("tellar", ""))
        options = zsh("tellar", "walk", "")
        self.assertIn("--depth=[Go no more than this many levels down]:N: \n", options)
        self.assertIn(":KIND:(sync async thread-aware)\n", options)
        self.assertIn(":SCENE:_files\n", options)
        self.assertIn(":SHELL:(bash zsh fish)\n", zsh("tellar", "completion", ""))

    @unittest.skipUnless(shutil.which("fish"), "there is no fish")
    def test_fish_completes_subcommands_options_and_choices(self):
        def fish(line):
            command = f"source {self.script('fish')}; complete -C '{line}'"
            lines = self.run_shell("fish", "--no-config", "-c", command).splitlines()
            return [line.split("\t")[0] for line in lines]
        self.assertEqual(fish("tellar wal"), ["walk"])
        self.assertEqual(fish("tellar walk --dep"), ["--depth"])
        self.assertEqual(sorted(fish("tellar walk --variant ")),
                         ["async", "sync", "thread-aware"])
        self.assertEqual(fish("tellar help conv"), ["convert"])

    def test_unknown_shells_are_refused(self):
        self.assert_fails_with("SHELL: csh", "completion", "csh")


if __name__ == "__main__":
    main()
