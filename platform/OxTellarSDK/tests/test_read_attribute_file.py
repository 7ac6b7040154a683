"""The reader in Python says what is wrong with damaged files.

    test_read_attribute_file.py FOLDER     a folder of MakeSampleFiles
"""
import os
import struct
import subprocess
import sys
import tempfile
import unittest

from read_attribute_file import COMPRESSED_FOOTER_BYTES, checksum

READER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "read_attribute_file.py")


def with_table_sum(data, table):
    """The end of a compressed file whose table was changed, with the checksums that follow."""
    footer = data[-COMPRESSED_FOOTER_BYTES:]
    footer = footer[:16] + struct.pack("<Q", checksum(table)) + footer[24:32]
    return table + footer + struct.pack("<Q", checksum(footer))


class DamageTest(unittest.TestCase):
    def setUp(self):
        with open(os.path.join(FOLDER, "blocks.oxz"), "rb") as stream:
            self.data = stream.read()
        blocks = struct.unpack_from("<Q", self.data, len(self.data) - COMPRESSED_FOOTER_BYTES)[0]
        self.count = (blocks + 131071) // 131072
        self.footer = len(self.data) - COMPRESSED_FOOTER_BYTES
        self.table = self.footer - 4 * self.count

    def complaint(self, data):
        with tempfile.NamedTemporaryFile(suffix=".oxz") as file:
            file.write(data)
            file.flush()
            done = subprocess.run([sys.executable, READER, file.name], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, text=True, check=False)
            self.assertEqual(done.returncode, 1)
            start, text = f"{file.name} is damaged: ", done.stderr.strip()
            self.assertEqual(text[:len(start)], start)
            return text[len(start):]

    def flipped(self, place):
        return self.data[:place] + bytes([self.data[place] ^ 4]) + self.data[place + 1:]

    def test_a_sound_file_has_several_blocks(self):
        self.assertGreater(self.count, 4)

    def test_a_file_that_is_cut_short(self):
        self.assertIn("cut short", self.complaint(self.data[:-1]))
        self.assertIn("cut short", self.complaint(self.data[:20]))

    def test_a_changed_footer(self):
        self.assertEqual(self.complaint(self.flipped(self.footer)),
                         "checksum of the compressed footer")
        self.assertEqual(self.complaint(self.flipped(len(self.data) - 1)),
                         "checksum of the compressed footer")

    def test_a_changed_table(self):
        self.assertEqual(self.complaint(self.flipped(self.table)), "checksum of the table of blocks")
        self.assertEqual(self.complaint(self.flipped(self.table - 8)),
                         "the table of blocks has no frame")

    def test_bytes_between_the_blocks_and_their_table(self):
        self.assertEqual(self.complaint(self.data[:self.table - 8] + b"\0" +
                                        self.data[self.table - 8:]),
                         "the blocks do not fill the file")

    def test_a_changed_block(self):
        for place in (20, self.table // 2, self.table - 20):
            with self.subTest(place):
                self.assertRegex(self.complaint(self.flipped(place)),
                                 "^bytes [0-9]+ to [0-9]+ are no block|^checksum of bytes [0-9]+")

    def test_two_blocks_that_change_places(self):
        lengths = list(struct.unpack_from(f"<{self.count}I", self.data, self.table))
        begin, middle, end = lengths[0], sum(lengths[:2]), sum(lengths[:3])
        lengths[1], lengths[2] = lengths[2], lengths[1]
        table = struct.pack(f"<{self.count}I", *lengths)
        changed = (self.data[:begin] + self.data[middle:end] + self.data[begin:middle] +
                   self.data[end:self.table] + with_table_sum(self.data, table))
        self.assertEqual(self.complaint(changed), "checksum of bytes 131072 to 196608")

    def test_a_block_that_the_table_makes_longer(self):
        lengths = list(struct.unpack_from(f"<{self.count}I", self.data, self.table))
        lengths[0] += 1
        lengths[1] -= 1
        table = struct.pack(f"<{self.count}I", *lengths)
        self.assertEqual(self.complaint(self.data[:self.table] + with_table_sum(self.data, table)),
                         f"bytes 0 to {lengths[0]} are no block of 131072 bytes")


if __name__ == "__main__":
    FOLDER = sys.argv[1]
    unittest.main(argv=sys.argv[:1])
