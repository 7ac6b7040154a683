#!/usr/bin/env python3
"""Checks docs/description.schema.json against the program that reads descriptions.

    check_schema.py SCHEMA PROGRAM FOLDER...

Every description in the folders (*.json, and the ```json blocks of *.md) must be good for both;
what is listed below must be good or bad for both alike.
"""

import json
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import jsonschema

SCHEMA = Path()
PROGRAM = ""
FOLDERS = []

GOOD_ARGUMENTS = [
    '1', '2.5', '"text"', 'true', 'null', '[1, 2.5]', '[true, 1]', '["a"]', '[[1, 2], [3, 4]]',
    '[["a", "b"]]', '{}', '{"a.b": {"c": 1}}',
    '{"$type": "int", "values": []}',
    '{"$type": "int", "tuple": 2, "values": [[1, 2]]}',
    '{"$type": "float", "values": ["nan", "inf", "-inf", "nan:7fc00001", 0.5]}',
    '{"$type": "double", "times": [0, 1.5], "samples": [[1], [2]]}',
    '{"$type": "string", "values": ["a"]}',
    '{"$type": "string", "hex": ["fF00", ""]}',
    '{"$type": "string", "times": [1], "hexSamples": [["00"]]}',
    '{"$type": "null"}',
    '{"$type": "group"}',
    '{"$type": "group", "inherit": false, "children": {"": 1, "a.b": 2, "$type": 3}}',
    '{"$type": "group", "children": [{"name": "a", "value": 1}, {"hexName": "ff", "value": {}}]}',
]

BAD_ARGUMENTS = [
    '[]', '[1, "a"]', '[1, null]', '[[1], 2]', '[[]]', '[[[1]]]', '[{}]',
    '{"": 1}', '{"a..b": 1}', '{".a": 1}', '{"a.": 1}',
    '{"$type": "long", "values": [1]}', '{"$type": 1}', '{"$type": "int"}',
    '{"$type": "int", "values": [1.5]}', '{"$type": "int", "values": [2147483648]}',
    '{"$type": "int", "values": ["nan"]}', '{"$type": "int", "values": 1}',
    '{"$type": "float", "values": ["NaN"]}', '{"$type": "float", "values": [true]}',
    '{"$type": "float", "values": [1], "tuple": 0}', '{"$type": "float", "values": [1], "x": 1}',
    '{"$type": "float", "times": [0]}', '{"$type": "float", "samples": [[1]]}',
    '{"$type": "float", "times": [], "samples": []}',
    '{"$type": "float", "times": [0], "samples": [1]}',
    '{"$type": "float", "times": [0], "samples": [[1]], "values": [1]}',
    '{"$type": "float", "samples": [[1]], "values": [1]}',
    '{"$type": "string", "times": [0], "hex": ["00"]}',
    '{"$type": "string", "hexSamples": [["00"]]}',
    '{"$type": "string", "times": [0], "samples": [["a"]], "hexSamples": [["00"]]}',
    '{"$type": "string", "values": [1]}', '{"$type": "string", "hex": ["f"]}',
    '{"$type": "string", "hex": ["xx"]}', '{"$type": "string", "values": [], "hex": []}',
    '{"$type": "null", "values": []}', '{"$type": "group", "inherit": 1}',
    '{"$type": "group", "children": 1}', '{"$type": "group", "children": [{"name": "a"}]}',
    '{"$type": "group", "children": [{"name": "a", "hexName": "61", "value": 1}]}',
    '{"$type": "group", "children": [{"value": 1}]}',
]

GOOD_DESCRIPTIONS = [
    '{"ops": [{"name": "a", "type": ""}]}',
    '{"$schema": 1, "comment": [], "ops": [{"name": "a", "type": "T", "comment": {}}]}',
    '{"ops": [{"name": "a", "type": "T", "inputs": "a"}]}',
    '{"ops": [{"name": "a", "type": "T", "inputs": ["a", null, "a"], "args": {}}]}',
    '{"ops": [{"name": "a", "type": "T", "args": {"$type": "group"}}]}',
]

BAD_DESCRIPTIONS = [
    '[]', '{}', '{"ops": {}}', '{"ops": []}', '{"ops": [1]}', '{"ops": [{"name": "a"}]}',
    '{"ops": [{"type": "T"}]}', '{"ops": [{"name": "", "type": "T"}]}',
    '{"ops": [{"name": 1, "type": "T"}]}', '{"ops": [{"name": "a", "type": 1}]}',
    '{"ops": [{"name": "a", "type": "T"}], "op": 1}',
    '{"ops": [{"name": "a", "type": "T", "arguments": {}}]}',
    '{"ops": [{"name": "a", "type": "T", "args": []}]}',
    '{"ops": [{"name": "a", "type": "T", "args": {"$type": "null"}}]}',
    '{"ops": [{"name": "a", "type": "T", "inputs": {}}]}',
    '{"ops": [{"name": "a", "type": "T", "inputs": [1]}]}',
]


def with_argument(argument):
    return '{"ops": [{"name": "a", "type": "T", "args": {"x": %s}}]}' % argument


def published_descriptions():
    """(where, text) of everything that readers of the project might start from."""
    for folder in FOLDERS:
        for path in sorted(folder.glob("*.json")):
            if path.resolve() != SCHEMA.resolve():
                yield path.name, path.read_text()
        for path in sorted(folder.glob("*.md")):
            for block in re.findall(r"^```json\n(.*?)^```", path.read_text(), re.S | re.M):
                yield path.name, block


class SchemaTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="tellar-test-")
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)
        schema = json.loads(SCHEMA.read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        self.validator = jsonschema.Draft202012Validator(schema)

    def check(self, text, is_good):
        with self.subTest(text=text):
            self.assertEqual(self.validator.is_valid(json.loads(text)), is_good, "the schema")
            description = self.folder / "description.json"
            description.write_text(text)
            done = subprocess.run([PROGRAM, "convert", description, self.folder / "out.oxattr"],
                                  capture_output=True, timeout=600)
            self.assertEqual(done.returncode, 0 if is_good else 2, done.stderr)

    def test_takes_and_refuses_what_the_program_does(self):
        for text in GOOD_DESCRIPTIONS + [with_argument(value) for value in GOOD_ARGUMENTS]:
            self.check(text, True)
        for text in BAD_DESCRIPTIONS + [with_argument(value) for value in BAD_ARGUMENTS]:
            self.check(text, False)

    def test_takes_every_description_that_is_published(self):
        found = list(published_descriptions())
        for name in ("garden.json", "materials.json", "million.json", "hundred_million.json",
                     "description-json.md", "op-types.md"):
            self.assertIn(name, {where for where, _ in found})
        for where, text in found:
            with self.subTest(where=where):
                self.check(text, True)


if __name__ == "__main__":
    SCHEMA = Path(sys.argv[1])
    PROGRAM = sys.argv[2]
    FOLDERS = [Path(folder) for folder in sys.argv[3:]]
    unittest.main(argv=sys.argv[:1])
