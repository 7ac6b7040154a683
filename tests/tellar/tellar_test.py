"""What the tests of the tellar command share."""

import fcntl
import json
import os
import pty
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import unittest
from pathlib import Path

# Set for slow builds, which do with fewer runs of the same kind.
SMALL = bool(os.environ.get("TELLAR_TEST_SMALL"))


def static_scene(children):
    return {"ops": [{"name": "scene", "type": "StaticScene", "args": {"c": children}}]}


def with_usual_signals():
    """Whoever started the tests may have them ignored, and that is inherited."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    signal.signal(signal.SIGTERM, signal.SIG_DFL)


def pieces_from_terminal(descriptor):
    """What others write to the other side, until all of them have closed it."""
    try:
        while piece := os.read(descriptor, 4096):
            yield piece
    except OSError:  # how Linux tells that the other side is closed
        pass
    os.close(descriptor)


class TellarTest(unittest.TestCase):
    """Runs the command in an empty folder and an environment of its own."""

    program = ""
    examples = Path()
    maxDiff = None

    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="tellar-test-")
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("LC_ALL", "LC_CTYPE", "LANG", "NO_COLOR")
                            and not name.startswith("OX_")}
        self.environment["LC_ALL"] = "C.UTF-8"

    def write(self, name, content):
        path = self.folder / name
        if isinstance(content, dict):
            content = json.dumps(content)
        if isinstance(content, str):
            content = content.encode()
        path.write_bytes(content)
        return str(path)

    def run_tellar(self, *arguments, **environment):
        done = subprocess.run([self.program, *map(str, arguments)], capture_output=True,
                              env={**self.environment, **environment}, cwd=self.folder,
                              timeout=600)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def tellar(self, *arguments, **environment):
        """Standard output of a run that must succeed without a word on standard error."""
        status, output, errors = self.run_tellar(*arguments, **environment)
        self.assertEqual((status, errors), (0, ""), arguments)
        return output

    def stop_on_terminal(self, wanted, *arguments, columns=100, **environment):
        """All that a terminal gets of a run that is stopped when it has shown `wanted`."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        process = subprocess.Popen([self.program, *map(str, arguments)], stderr=theirs,
                                   stdout=subprocess.DEVNULL, cwd=self.folder,
                                   preexec_fn=with_usual_signals,
                                   env={**self.environment, **environment})
        os.close(theirs)
        seen = b""
        is_stopped = False
        for piece in pieces_from_terminal(ours):
            seen += piece
            if wanted in seen and not is_stopped:
                process.send_signal(signal.SIGTERM)
                is_stopped = True
        self.assertEqual(process.wait(timeout=600), 143)
        return seen

    def assert_fails(self, error, *arguments, **environment):
        status, output, errors = self.run_tellar(*arguments, **environment)
        self.assertEqual(errors, f"tellar: {error}\n")
        self.assertEqual(status, 2)
        return output

    def assert_fails_with(self, part, *arguments, **environment):
        """For errors whose text is partly somebody else's; still exactly one line."""
        status, _, errors = self.run_tellar(*arguments, **environment)
        self.assertEqual(status, 2)
        self.assertTrue(errors.startswith("tellar: "), errors)
        self.assertEqual(errors.count("\n"), 1, errors)
        self.assertTrue(errors.endswith("\n"), errors)
        self.assertIn(part, errors)


def main():
    """For test programs: PROGRAM EXAMPLES_FOLDER, then what unittest takes."""
    TellarTest.program = os.path.abspath(sys.argv[1])
    TellarTest.examples = Path(sys.argv[2]).resolve()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
