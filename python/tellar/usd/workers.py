"""Processes that read runs of a large stage beside this one.

Each is a fresh interpreter (_worker.py), never a fork of the host, which may have threads. It gets
the open descriptors of three files: the request, that is, how to open the stage; the plan, that is,
the parts; and its own results. The files have no names, so that nothing of them is left whatever
ends the processes. Numbers of runs are taken from a pipe, also by this process, so that each has
work until the last one is taken. A run whose result does not arrive is read here.
"""

from __future__ import annotations

import json
import os
import re
import struct
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from pathlib import Path
from types import TracebackType
from typing import IO, Any, Self

import tellar

from .. import _tellar
from .parts import Part, Run
from .summary import ImportSummary

NUMBER = struct.Struct("<I")
"""The number of a run in the pipe."""
HEAD = struct.Struct("<IQQ")
"""Before each result: the number of the run, the bytes of its facts, and those of its children."""

POLLING_SECONDS = 0.002
MODULE = "tellar.usd._worker"
_PYTHON = re.compile(r"(python|pypy)[0-9.]*", re.IGNORECASE)


def processors() -> int:
    """How many processors this process may use."""
    if hasattr(os, "sched_getaffinity"):
        return len(os.sched_getaffinity(0))
    return os.cpu_count() or 1


def interpreter() -> str | None:
    """The program that runs Python; None in a host that is another program."""
    program = sys.executable
    if os.name != "posix" or not program or not _PYTHON.fullmatch(Path(program).name):
        return None
    return program


class Workers:
    """Processes to be started, all of which have ended when the ``with`` block is left."""

    def __init__(self, request: dict[str, Any], count: int) -> None:
        """`request` goes to every process as JSON."""
        self.request = request
        self.count = count
        self.processes: list[subprocess.Popen[bytes]] = []
        self._results: list[IO[bytes]] = []
        self._files: list[IO[bytes]] = []
        self._plan: IO[bytes] | None = None
        self._numbers = -1
        self._more_numbers = -1

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.stop()

    @property
    def is_started(self) -> bool:
        return bool(self.processes)

    def start(self) -> None:
        """Starts the processes, or as many as possible. They wait for runs."""
        program = interpreter()
        if program is None or self.is_started:
            return
        try:
            self._numbers, self._more_numbers = os.pipe()
            request = self._new_file(json.dumps(self.request).encode())
            self._plan = self._new_file()
            for _ in range(self.count):
                self._start_one(program, request, self._plan)
        except OSError:  # out of processes, descriptors or space: this process can do without
            pass

    def _new_file(self, content: bytes = b"") -> IO[bytes]:
        file: IO[bytes] = tempfile.TemporaryFile(buffering=0)
        self._files.append(file)
        file.write(content)
        return file

    def _start_one(self, program: str, request: IO[bytes], plan: IO[bytes]) -> None:
        results = self._new_file()
        files = (request.fileno(), plan.fileno(), self._numbers, results.fileno())
        folders = [folder for folder in sys.path if isinstance(folder, str) and folder]
        # -P keeps modules of the working folder out, of which the path of this process decides.
        process = subprocess.Popen(
            [program, "-P", "-m", MODULE, *map(str, files)],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            pass_fds=files,
            env=os.environ | {"PYTHONPATH": os.pathsep.join(folders)},
        )
        self.processes.append(process)
        self._results.append(results)

    def hand_out(self, parts: list[Part], facts: Any) -> None:
        """Lets the processes begin. `facts` of the stage are compared with those of theirs."""
        self.start()
        runs = [number for number, part in enumerate(parts) if not part.path]
        if self._plan is None or not self.is_started:
            return
        try:
            self._plan.write(json.dumps([facts, parts]).encode())
            os.write(self._more_numbers, b"".join(map(NUMBER.pack, runs)))
        except OSError:
            self.stop()

    def numbers(self, parts: list[Part]) -> Iterator[int]:
        """The numbers of the runs that no other process has taken yet, one after the other."""
        if not self.is_started:
            yield from (number for number, part in enumerate(parts) if not part.path)
            return
        self._close_numbers()
        while len(taken := os.read(self._numbers, NUMBER.size)) == NUMBER.size:
            yield NUMBER.unpack(taken)[0]

    def results(self, missing: set[int]) -> dict[int, Run | None]:
        """Waits for runs that the processes have taken. Some do not come when one has failed."""
        runs: dict[int, Run | None] = {}
        positions = [0] * len(self._results)
        while missing - runs.keys():
            is_running = any([process.poll() is None for process in self.processes])
            for index, file in enumerate(self._results):
                while (found := result_at(file.fileno(), positions[index])) is not None:
                    positions[index], number, run = found
                    runs[number] = run
            if not is_running:
                break
            time.sleep(POLLING_SECONDS)
        return runs

    def stop(self) -> None:
        """Ends the processes that have not ended yet."""
        self._close_numbers()
        for process in self.processes:
            process.kill()
        for process in self.processes:
            process.wait()
        self.processes.clear()
        if self._numbers >= 0:
            os.close(self._numbers)
            self._numbers = -1
        for file in self._files:
            file.close()
        self._files.clear()
        self._results.clear()

    def _close_numbers(self) -> None:
        if self._more_numbers >= 0:
            os.close(self._more_numbers)
            self._more_numbers = -1


def write_result(file: IO[bytes], number: int, run: Run | None) -> None:
    """Appends what was read of a run. Raises OSError."""
    if run is None:
        file.write(HEAD.pack(number, 0, 0))
    else:
        summaries = [summary.to_data() for summary in run.summaries]
        facts = json.dumps([run.box, run.prims, run.used, run.materials, summaries]).encode()
        children = _tellar.stream_of(run.children)
        file.write(HEAD.pack(number, len(facts), len(children)))
        file.write(facts)
        file.write(children)
    file.flush()


def result_at(file: int, position: int) -> tuple[int, int, Run | None] | None:
    """The end, the number and the content of a result; None if it is incomplete or damaged."""
    start = position + HEAD.size
    head = bytes_at(file, position, HEAD.size)
    if len(head) < HEAD.size:
        return None
    number, facts_size, children_size = HEAD.unpack(head)
    end: int = start + facts_size + children_size
    if os.fstat(file).st_size < end:
        return None
    if not facts_size:
        return end, number, None
    facts = bytes_at(file, start, facts_size)
    try:
        return end, number, run_of(facts, bytes_at(file, start + facts_size, children_size))
    except (ValueError, tellar.Error):
        return None


def bytes_at(file: int, position: int, size: int) -> bytes:
    """Less than `size` at the end of the file. Leaves the position that the writer shares."""
    read = bytearray()
    while len(read) < size and (more := os.pread(file, size - len(read), position + len(read))):
        read += more
    return bytes(read)


def run_of(facts: bytes, children: bytes) -> Run:
    box, prims, used, materials, summaries = json.loads(facts)
    group = _tellar.group_of_stream(children)
    read = [ImportSummary.from_data(data) for data in summaries]
    return Run(group, box, prims, used, materials, read)
