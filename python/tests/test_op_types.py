"""Op types that are written in Python."""

from __future__ import annotations

import gc
import inspect
import pickle
import subprocess
import sys
import textwrap
import threading
import traceback
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tellar


class Rows(tellar.OpType):
    """A hundred rows with children."""

    inputs = "none"
    arguments = {"count": "int  How many rows. Default: 100."}

    def cook(self, location: tellar.CookContext) -> None:
        count = int(location.args.get("count", [100])[0])
        level = location.path.count("/")
        if level == 1 and location.path == "/root":
            location.set_attributes({"type": "group"})
            location.set_children(f"row{i}" for i in range(count))
        elif level == 2:
            location.set_attributes({"type": "group", "user.level": level})
            location.set_children([f"leaf{i}" for i in range(5)])
        elif level == 3:
            location.set_attributes({"type": "polymesh", "user.values": np.arange(6).reshape(2, 3)})


class Tint(tellar.OpType):
    """Gives locations a colour, but none to those that are called leaf4."""

    inputs = "one"
    arguments = {"colour": "double[3]  Red, green and blue. Required."}

    def prepare(self, args: tellar.Group) -> object:
        if args["colour"].min() < 0:
            raise tellar.InvalidValueError("a colour is not negative", attribute="colour")
        return args["colour"].max()

    def cook(self, location: tellar.CookContext) -> None:
        if location.path.endswith("leaf4"):
            raise ValueError("no colour for " + location.path)
        if location.pass_input():
            location.set_attribute("user.colour", location.args["colour"])
            location.set_attribute("user.brightest", location.prepared)


class Passes(tellar.OpType):
    """Passes its input on."""

    inputs = "one"

    def cook(self, location: tellar.CookContext) -> None:
        location.pass_input()


def rows_then(op_type: Callable[..., tellar.Op], **arguments: Any) -> tellar.Scene:
    return op_type(Rows(count=4), **arguments).scene()


def cook_of(cook: Callable[[tellar.CookContext], object], source: tellar.Op | None = None) -> Any:
    """The root of a scene whose op is cooked by a function."""

    class Cooked(tellar.OpType):
        def cook(self, location: tellar.CookContext) -> None:
            cook(location)

    return Cooked(source or Rows(count=4)).scene().root


class TestClasses:
    def test_a_class_is_an_op_type(self) -> None:
        assert "Tint" in tellar.ops.names()
        assert tellar.ops.Tint is Tint
        op = Tint(Rows(), colour=[1, 0, 0], name="tint")
        assert isinstance(op, tellar.Op)
        assert (op.type, op.name, list(op.arguments)) == ("Tint", "tint", ["colour"])

    def test_it_has_a_signature_from_its_arguments(self) -> None:
        parameters = inspect.signature(Tint).parameters
        assert list(parameters) == ["input", "name", "colour"]
        assert parameters["colour"].default is inspect.Parameter.empty
        assert list(inspect.signature(Rows).parameters) == ["name", "count"]
        assert list(inspect.signature(Passes).parameters) == ["input", "name", "arguments"]

    def test_arguments_are_checked_as_those_of_other_types(self) -> None:
        make: Any = Tint
        with pytest.raises(TypeError, match='Tint needs the argument "colour"'):
            make(Rows())
        with pytest.raises(TypeError, match='no argument "color"; did you mean colour?'):
            make(Rows(), color=[1, 0, 0])
        with pytest.raises(tellar.InvalidValueError, match="takes 3 floats, not 2"):
            make(Rows(), colour=[1, 0])
        with pytest.raises(TypeError, match="takes one input, not 2"):
            make(Rows(), Rows(), colour=[1, 0, 0])

    def test_arguments_of_files_are_checked_too(self) -> None:
        cases: list[tuple[dict[str, Any], str]] = [
            ({}, 'Argument "colour" is required'),
            ({"colour": "red"}, r'"colour" has a wrong type; it is of the type double\[3\]'),
            ({"colour": [1.0, 1.0, 1.0], "color": 1}, '"color" is unknown; did you mean colour?'),
        ]
        for arguments, text in cases:
            op = tellar.Op("Tint", Rows(), arguments=arguments)
            with pytest.raises(tellar.InvalidValueError, match=text) as caught:
                op.scene().root
            assert caught.value.op_type == "Tint"
            assert caught.value.attribute in ("colour", "color")

    def test_a_class_without_cook_is_no_op_type(self) -> None:
        class Base(tellar.OpType):
            def helper(self) -> int:
                return 3

        class Derived(Base):
            def cook(self, location: tellar.CookContext) -> None:
                location.set_attributes({"user.helped": self.helper()})

        assert "Base" not in tellar.ops.names()
        with pytest.raises(TypeError, match="Base is no op type: it has no cook"):
            Base()
        assert Derived().scene().root["user.helped"] == [3]

    def test_a_name_that_is_taken_by_another_type_is_refused(self) -> None:
        with pytest.raises(tellar.BadCallError, match='There is an op type "Merge" already'):

            class Merge(tellar.OpType):
                def cook(self, location: tellar.CookContext) -> None: ...

        assert tellar.ops.Merge().type == "Merge"

    def test_wrong_descriptions_are_refused(self) -> None:
        with pytest.raises(tellar.BadCallError, match='cannot have the name "name"'):

            class Wrong(tellar.OpType):
                arguments = {"name": "string"}

                def cook(self, location: tellar.CookContext) -> None: ...

        with pytest.raises(TypeError, match="version is an int, not '1'"):

            class Other(tellar.OpType):
                version = "1"  # type: ignore[assignment]

                def cook(self, location: tellar.CookContext) -> None: ...

    def test_a_class_can_be_defined_again(self, tmp_path: Path) -> None:
        def define(value: int) -> type[tellar.OpType]:
            class Again(tellar.OpType):
                def cook(self, location: tellar.CookContext) -> None:
                    location.set_attributes({"user.value": value})

            return Again

        first = define(1)
        old_op = first()
        old_scene = old_op.scene()
        tellar.write_op_file(old_op, tmp_path / "again.oxop")
        tellar.write_json(old_op, tmp_path / "again.json")
        second = define(2)
        assert tellar.ops.Again is second
        assert tellar.ops.names().count("Again") == 1
        assert not any("#" in name for name in tellar.ops.names())
        assert second().type == "Again#2"
        values = [scene.root["user.value"] for scene in (second().scene(), old_op.scene())]
        assert values == [[2], [1]]
        assert old_scene.root["user.value"] == [1]
        assert first().scene().root["user.value"] == [1]
        assert first().scene().identity != second().scene().identity
        # Texts name the class, and mean the newest.
        for name in ("again.oxop", "again.json"):
            assert tellar.open(tmp_path / name).root["user.value"] == [2]
        assert tellar.scene({"a": {"opType": "Again"}}).root["user.value"] == [2]
        assert '"Again"' in tellar.write_json(second())
        assert define(3)().scene().root["user.value"] == [3]

    def test_the_version_is_a_part_of_the_identity(self) -> None:
        identities = set()
        for number in (1, 2):

            class Versioned(tellar.OpType):
                version = number

                def cook(self, location: tellar.CookContext) -> None: ...

            identities.add(Versioned().scene().identity)
        assert len(identities) == 2


class TestCooks:
    def test_locations_are_made(self) -> None:
        scene = rows_then(Tint, colour=[0.5, 1, 0])
        assert scene.root.children.names == ["row0", "row1", "row2", "row3"]
        leaf = scene["/root/row2/leaf1"]
        assert leaf["user.colour"].tolist() == [0.5, 1, 0]
        assert leaf["user.brightest"] == [1.0]
        assert leaf["user.values"].tolist() == [[0, 1, 2], [3, 4, 5]]
        assert leaf.type == "polymesh"
        assert scene.get("/root/row9") is None

    def test_what_is_passed_is_not_copied(self) -> None:
        source = Rows(count=4)
        location = source.scene()["/root/row1/leaf0"]  # keeps the results, which ops share
        below = location["user.values"]
        passed = Passes(source).scene()["/root/row1/leaf0"]["user.values"]
        assert below.ctypes.data == passed.ctypes.data

    def test_a_location_that_nobody_makes_does_not_exist(self) -> None:
        class Nothing(tellar.OpType):
            def cook(self, location: tellar.CookContext) -> None: ...

        with pytest.raises(tellar.NotFoundError):
            Nothing().scene().root

    def test_the_context(self) -> None:
        seen: dict[str, Any] = {}

        def cook(location: tellar.CookContext) -> None:
            seen["path"] = location.path
            seen["inputs"] = location.number_of_inputs
            seen["fresh"] = location.is_fresh
            seen["args"] = dict(location.args)
            seen["prepared"] = location.prepared
            own = location.input()
            assert own
            seen["own"] = own
            seen["other"] = location.input("/root/row1/leaf2")
            seen["missing"] = location.input("/nobody")
            seen["no input"] = location.input(index=7)
            seen["passed"] = location.pass_input("/nobody")
            location.set_attributes({"type": "group"})

        cook_of(cook)
        assert seen["path"] == "/root"
        assert (seen["inputs"], seen["fresh"], seen["args"]) == (1, False, {})
        assert seen["prepared"] is None
        assert seen["own"].child_names == ["row0", "row1", "row2", "row3"]
        assert seen["other"].attributes["user.values"].shape == (2, 3)
        assert seen["other"].child_names == []
        assert (seen["missing"], seen["no input"], seen["passed"]) == (None, None, False)

    def test_attributes_are_set_one_by_one(self) -> None:
        def cook(location: tellar.CookContext) -> None:
            location.pass_input("/root/row1")
            location.set_attribute("user.more", tellar.samples({0: 1.0, 1: 2.0}))
            location.set_attribute("extra", "text")
            location.remove_attribute("user.level")

        root = cook_of(cook)
        assert root.attribute_names == ["extra", "type", "user"]
        assert list(root["user"]) == ["more"]
        assert root.attribute("user.more").times == [0, 1]
        assert root.children.names == [f"leaf{i}" for i in range(5)]

    def test_a_group_is_set_as_it_is(self) -> None:
        group = tellar.group({"a.b": [1.0, 2.0]})
        assert cook_of(lambda location: location.set_attributes(group)).attributes == group

    @pytest.mark.parametrize(
        ("call", "text"),
        [
            (lambda location: location.set_children("abc"), "a list of names, not a str"),
            (lambda location: location.set_children([1]), "of the type str"),
            (lambda location: location.set_attributes(3), "a mapping was expected"),
            (lambda location: location.set_attribute("a", object()), "cannot hold|cannot be made"),
            (lambda location: location.input("relative"), "is not an absolute path"),
            (lambda location: location.input(""), "is not an absolute path"),
            (lambda location: location.input(index=-1), "incompatible function arguments"),
            (lambda location: sys.exit(3), "SystemExit: 3"),
        ],
    )
    def test_wrong_calls_are_errors_of_the_location(
        self, call: Callable[[tellar.CookContext], object], text: str
    ) -> None:
        with pytest.raises(tellar.CookError, match=text) as caught:
            cook_of(call)
        assert caught.value.location == "/root"

    def test_a_context_ends_with_its_cook(self) -> None:
        kept: list[tellar.CookContext] = []

        def cook(location: tellar.CookContext) -> None:
            kept.append(location)
            location.pass_input()

        cook_of(cook)
        uses: list[Callable[[], object]] = [
            lambda: kept[0].path,
            lambda: kept[0].args,
            lambda: kept[0].prepared,
            lambda: kept[0].input(),
            lambda: kept[0].pass_input(),
            lambda: kept[0].set_attribute("a", 1),
            lambda: kept[0].set_attributes({}),
            lambda: kept[0].remove_attribute("a"),
            lambda: kept[0].set_children([]),
        ]
        for use in uses:
            with pytest.raises(tellar.BadCallError, match="used after the cook"):
                use()

    def test_a_context_is_for_one_thread(self) -> None:
        errors: list[BaseException] = []

        def cook(location: tellar.CookContext) -> None:
            def use() -> None:
                try:
                    location.input()
                except tellar.BadCallError as error:
                    errors.append(error)

            thread = threading.Thread(target=use)
            thread.start()
            thread.join()
            location.pass_input()

        cook_of(cook)
        assert "used by another thread" in str(errors[0])


class TestErrors:
    def test_an_exception_is_an_error_of_its_location(self) -> None:
        scene = rows_then(Tint, colour=[1, 0, 0])
        with pytest.raises(tellar.CookError) as caught:
            scene["/root/row1/leaf4"]
        error = caught.value
        line = 1 + inspect.getsourcelines(Tint.cook)[1] + 1
        text = str(error)
        assert (error.op, error.op_type, error.location) == ("tint1", "Tint", "/root/row1/leaf4")
        assert f"ValueError: no colour for /root/row1/leaf4 ({__file__}:{line}, in cook)" in text
        assert f'File "{__file__}", line {line}, in cook' in text
        assert "Traceback (most recent call last):" in text
        assert scene["/root/row1/leaf3"]["user.colour"].tolist() == [1, 0, 0]

    def test_the_exception_is_the_cause(self) -> None:
        with pytest.raises(tellar.CookError) as caught:
            rows_then(Tint, colour=[1, 0, 0])["/root/row1/leaf4"]
        cause = caught.value.__cause__
        assert isinstance(cause, ValueError)
        assert "no colour for" in "".join(traceback.format_exception(cause))

    def test_errors_of_prepare_have_fields(self) -> None:
        with pytest.raises(tellar.InvalidValueError, match="a colour is not negative") as caught:
            rows_then(Tint, colour=[-1, 0, 0]).root
        assert (caught.value.attribute, caught.value.op_type) == ("colour", "Tint")
        assert "Traceback" not in str(caught.value)

    def test_an_error_of_an_input_keeps_its_op(self) -> None:
        source = Tint(Rows(count=2), colour=[1, 0, 0], name="inner")
        with pytest.raises(tellar.CookError) as caught:
            Passes(Passes(source), name="outer").scene()["/root/row0/leaf4"]
        assert (caught.value.op, caught.value.location) == ("inner", "/root/row0/leaf4")
        assert str(caught.value).count("Op ") == 1

    def test_an_error_of_an_input_may_be_caught(self) -> None:
        def cook(location: tellar.CookContext) -> None:
            try:
                location.input("/root/row0/leaf4")
            except tellar.CookError as error:
                location.set_attributes({"user.failed": error.location})

        source = Tint(Rows(count=2), colour=[1, 0, 0])
        assert cook_of(cook, source)["user.failed"] == "/root/row0/leaf4"

    def test_another_error_while_an_input_failed(self) -> None:
        def cook(location: tellar.CookContext) -> None:
            try:
                location.input("/root/row0/leaf4")
            except tellar.CookError as error:
                raise KeyError("mine") from error

        with pytest.raises(tellar.CookError, match="KeyError: 'mine'") as caught:
            cook_of(cook, Tint(Rows(count=2), colour=[1, 0, 0]))
        assert caught.value.op_type.startswith("Cooked")

    def test_a_location_that_needs_itself(self) -> None:
        def cook(location: tellar.CookContext) -> None:
            rooted.append(scene.root)

        rooted: list[object] = []

        class Circle(tellar.OpType):
            def cook(self, location: tellar.CookContext) -> None:
                cook(location)

        scene = Circle().scene()
        with pytest.raises(tellar.CookError, match="the location needs itself"):
            scene.root

    def test_errors_can_be_pickled(self) -> None:
        with pytest.raises(tellar.CookError) as caught:
            rows_then(Tint, colour=[1, 0, 0])["/root/row1/leaf4"]
        again = pickle.loads(pickle.dumps(caught.value))
        assert type(again) is tellar.CookError
        assert (str(again), vars(again)) == (str(caught.value), vars(caught.value))
        for kind in (tellar.BadCallError, tellar.FileError, tellar.NotFoundError):
            error = kind("text", location="/root/a", file="b")
            again = pickle.loads(pickle.dumps(error))
            assert (type(again), str(again), vars(again)) == (kind, "text", vars(error))

    def test_what_frames_hold_is_freed(self) -> None:
        class Held:
            alive = 0

            def __init__(self) -> None:
                Held.alive += 1

            def __del__(self) -> None:
                Held.alive -= 1

        def cook(location: tellar.CookContext) -> None:
            held = Held()
            raise ValueError(type(held).__name__)

        for _ in range(3):
            with pytest.raises(tellar.CookError):
                cook_of(cook)
        gc.collect()
        assert Held.alive == 0


class TestThreads:
    def test_a_walk_with_threads(self) -> None:
        errors: list[tellar.Error] = []
        scene = Tint(Rows(count=200), colour=[1, 2, 3]).scene()
        paths = [item.path for item in scene.walk("/root", threads=4, on_error=errors.append)]
        assert len(paths) == 1 + 200 * 5
        assert len(errors) == 200
        assert all(isinstance(error.__cause__, ValueError) for error in errors[-20:])

    def test_many_python_threads(self) -> None:
        scene = Passes(Passes(Rows(count=40))).scene()
        found: list[int] = []

        def walk(threads: int) -> None:
            found.append(sum(1 for _ in scene.walk("/root", threads=threads)))

        workers = [threading.Thread(target=walk, args=(1 + i % 3,)) for i in range(8)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join(60)
        assert found == [1 + 40 * 6] * 8

    def test_the_lock_is_free_while_an_input_is_cooked(self) -> None:
        """One cook waits for another thread's, which needs the lock meanwhile."""
        started = threading.Event()
        go_on = threading.Event()

        class Slow(tellar.OpType):
            def cook(self, location: tellar.CookContext) -> None:
                started.set()
                assert go_on.wait(30)
                location.set_attributes({"type": "group"})

        slow = Slow()
        thread = threading.Thread(target=lambda: slow.scene().root)
        thread.start()
        assert started.wait(30)
        waiter = threading.Thread(target=lambda: Passes(slow).scene().root)
        waiter.start()
        go_on.set()
        thread.join(30)
        waiter.join(30)
        assert not thread.is_alive() and not waiter.is_alive()
        assert Passes(slow).scene().root.type == "group"

    def test_edits_while_others_walk(self) -> None:
        scene = Tint(Rows(count=30), colour=[1, 2, 3], name="tint").scene()
        counts: list[int] = []

        def walk() -> None:
            for _ in range(5):
                locations = scene.walk("/root", threads=2, on_error=lambda error: None)
                counts.append(sum(1 for _ in locations))

        workers = [threading.Thread(target=walk) for _ in range(3)]
        for worker in workers:
            worker.start()
        for number in range(10):
            with scene.edit() as edit:
                edit.set_argument("tint", "colour", [number, 0, 0])
        for worker in workers:
            worker.join(60)
        assert counts == [1 + 30 * 5] * 15
        assert scene["/root/row0/leaf0"]["user.colour"].tolist() == [9, 0, 0]

    def test_a_table_with_threads(self) -> None:
        scene = Passes(Rows(count=50)).scene()
        table = scene.table("/root/**", {"path": tellar.PATH, "level": "user.level"}, threads=3)
        assert len(table) == 1 + 50 * 6

    def test_a_picture(self, garden: tellar.Scene, tmp_path: Path) -> None:
        def pixels_of(scene: tellar.Scene) -> bytes:
            picture = tellar.render(scene, tmp_path / "a.png", samples=1, resolution=(16, 12))
            data = picture.read_bytes()
            return data[data.index(b"IDAT") : data.index(b"IEND")]

        assert pixels_of(Passes(garden.op()).scene()) == pixels_of(garden)


def run_script(script: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, "-c", textwrap.dedent(script)],
        capture_output=True,
        text=True,
        timeout=60,
        check=False,
    )


DEFINITIONS = """
    import os, signal, threading, time
    import numpy as np
    import tellar

    class Many(tellar.OpType):
        inputs = "none"

        def prepare(self, args):
            return {"args": args, "values": np.arange(1000.0)}

        def cook(self, location):
            time.sleep(0.0005)
            location.set_attributes({"user.values": location.prepared["values"]})
            if location.path.count("/") < 3:
                location.set_children([f"c{i}" for i in range(40)])
"""


class TestEnds:
    def test_the_interpreter_ends_while_threads_cook(self) -> None:
        done = run_script(
            DEFINITIONS
            + """
    scene = Many().scene()
    walk = scene.walk("/root", threads=4)
    first = next(walk)
    kept = first["user.values"]
    def work():
        try:
            list(scene.walk("/root", threads=2))
        except tellar.Error:
            pass  # the interpreter ends
    threading.Thread(target=work, daemon=True).start()
    print("end")
    """
        )
        assert (done.returncode, done.stdout, done.stderr) == (0, "end\n", "")

    def test_nothing_is_left_at_the_end(self) -> None:
        done = run_script(
            DEFINITIONS
            + """
    tellar._tellar._set_leak_warnings(True)
    scene = Many().scene()
    kept = [scene["/root/c1"], Many().scene().root]

    class Fails(tellar.OpType):
        def cook(self, location):
            location.input("/root/c2")
            raise ValueError(location.path)

    try:
        Fails(scene.op()).scene().root
    except tellar.CookError as error:
        failed = error
    with scene.edit() as edit:
        edit.add_op("top", "Merge", ["many1"])
    """
        )
        assert (done.returncode, done.stderr) == (0, "")

    def test_an_interrupt_reaches_the_main_thread(self) -> None:
        done = run_script(
            DEFINITIONS
            + """
    class Endless(tellar.OpType):
        def cook(self, location):
            os.kill(os.getpid(), signal.SIGINT)
            while True:
                time.sleep(0.01)

    class Above(tellar.OpType):
        def cook(self, location):
            location.pass_input()

    scene = Above(Endless()).scene()
    try:
        scene.root
        print("not interrupted")
    except KeyboardInterrupt:
        print("interrupted")
    """
        )
        assert (done.returncode, done.stdout, done.stderr) == (0, "interrupted\n", "")

    def test_a_forked_child_ends(self) -> None:
        done = run_script(
            DEFINITIONS
            + """
    scene = Many().scene()
    walk = scene.walk("/root", threads=4)
    next(walk)
    child = os.fork()
    if child == 0:
        os._exit(0 if Many().description() else 1)
    print(os.waitpid(child, 0)[1])
    """
        )
        assert (done.returncode, done.stdout) == (0, "0\n"), done.stderr


def test_cooking_does_not_grow(resident_bytes: Callable[[], int]) -> None:
    def work(count: int) -> None:
        for number in range(count):
            colour = [float(number + 1), 0, 0]
            scene = Tint(Rows(count=3), colour=colour).scene()
            assert scene["/root/row0/leaf1"]["user.brightest"] == [number + 1]
            with pytest.raises(tellar.CookError):
                scene["/root/row0/leaf4"]

    work(200)
    before = resident_bytes()
    work(1500)
    assert resident_bytes() - before < 6 << 20
