"""Op graphs: the functions of op types, descriptions, files, and edits."""

from __future__ import annotations

import inspect
import json
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tellar

BALL = {"type": "sphere", "geometry": {"radius": 1.5}}


def ball_scene(name: str | None = None) -> tellar.Op:
    return tellar.ops.StaticScene(
        c={"world": {"c": {"ball": {"a": BALL}, "cube": {"a": {"type": "polymesh"}}}}}, name=name
    )


def moved(source: tellar.Op | None = None, **arguments: Any) -> tellar.Op:
    given = {"paths": ["/root/world/ball"], "translate": [0, 2, 0], **arguments}
    return tellar.ops.Transform(source or ball_scene(), **given)


class TestFunctions:
    def test_every_op_type_of_the_process_is_there(self) -> None:
        names = tellar.ops.names()
        assert names == sorted(names)
        assert {"Merge", "StaticScene", "SceneImport", "Transform"} <= set(names)
        assert set(names) <= set(dir(tellar.ops))
        assert "names" in dir(tellar.ops)

    def test_every_function_has_a_signature_and_a_docstring(self) -> None:
        for name in tellar.ops.names():
            function = getattr(tellar.ops, name)
            if inspect.isclass(function):  # of another test
                continue
            assert function.__name__ == name
            assert function.__doc__
            assert inspect.signature(function).parameters["name"].default is None

    def test_the_signature_tells_what_the_description_says(self) -> None:
        parameters = inspect.signature(tellar.ops.Transform).parameters
        assert list(parameters)[:4] == ["input", "name", "paths", "translate"]
        assert parameters["paths"].default is inspect.Parameter.empty
        assert parameters["translate"].default is None
        assert "Sequence[float] | None" in str(parameters["translate"].annotation)
        inputs = inspect.signature(tellar.ops.Merge).parameters["inputs"]
        assert inputs.kind is inspect.Parameter.VAR_POSITIONAL
        assert "input" not in inspect.signature(tellar.ops.SceneImport).parameters

    def test_the_docstring_tells_the_arguments(self) -> None:
        assert "translate (double[3]): Moves by x, y, z." in (tellar.ops.Transform.__doc__ or "")

    def test_a_function_is_the_same_each_time_and_can_be_imported(self) -> None:
        from tellar.ops import Merge

        assert Merge is tellar.ops.Merge

    def test_an_unknown_type_is_an_attribute_error_with_a_hint(self) -> None:
        with pytest.raises(AttributeError, match="no op type Transfrom; did you mean Transform?"):
            tellar.ops.Transfrom  # noqa: B018
        with pytest.raises(AttributeError, match="no op type Zzzzzz$"):
            tellar.ops.Zzzzzz  # noqa: B018
        assert not hasattr(tellar.ops, "__wrapped__")


class TestArguments:
    @pytest.mark.parametrize(
        ("given", "kind", "shown"),
        [
            ([0, 2, 0], "double", [0.0, 2.0, 0.0]),
            ((0.5, 2, True), "double", [0.5, 2.0, 1.0]),
            (np.array([1, 2, 3], dtype=np.float32), "double", [1.0, 2.0, 3.0]),
            (range(3), "double", [0.0, 1.0, 2.0]),
        ],
    )
    def test_numbers_become_doubles(self, given: Any, kind: str, shown: list[float]) -> None:
        value = moved(translate=given).arguments.attribute("translate")
        assert isinstance(value, tellar.Attribute)
        assert (value.type, list(value.value)) == (kind, shown)

    def test_a_matrix_may_have_four_rows(self) -> None:
        value = moved(matrix=np.eye(4)).arguments["matrix"]
        assert value.shape == (16,)

    def test_samples_are_kept(self) -> None:
        sampled = tellar.samples({0: [0.0, 0, 0], 1: [4.0, 0, 0]}, "double")
        for given in (sampled, {0: [0, 0, 0], 1: [4, 0, 0]}):
            scene = moved(translate=given).scene()
            assert scene["/root/world/ball"].world_matrix(0.5)[3][0] == 2.0

    def test_flags_strings_and_paths(self) -> None:
        pruned = tellar.ops.Prune(ball_scene(), paths="/root/world/ball", keepNames=True)
        assert pruned.arguments["keepNames"].tolist() == [1]
        assert pruned.arguments["paths"] == "/root/world/ball"
        several = tellar.ops.Prune(ball_scene(), paths=[Path("/root/a"), "/root/b"])
        assert several.arguments["paths"] == ("/root/a", "/root/b")
        none = tellar.ops.Prune(ball_scene(), paths=[])
        assert none.arguments["paths"] == ()
        assert "/root/world/ball" in none.scene()
        imported = tellar.ops.SceneImport(file=Path("a.glb"), convertUnits=False)
        assert imported.arguments["file"] == "a.glb"

    def test_none_leaves_an_argument_out(self) -> None:
        assert list(moved(translate=None, order=None).arguments) == ["paths"]

    def test_a_part_of_a_group_by_its_dotted_name(self) -> None:
        arguments: dict[str, Any] = {"a.user.size": 2.0}
        op = tellar.ops.StaticScene(**arguments)
        assert op.scene()["/root"]["user.size"] == [2.0]

    @pytest.mark.parametrize(
        ("arguments", "text"),
        [
            ({"paths": None}, 'Transform needs the argument "paths"'),
            ({"path": "x"}, 'Transform takes no argument "path"; did you mean paths?'),
            ({"translate": "abc"}, r'"translate" \(double\[3\]\) takes 3 floats, not .abc'),
            ({"translate": object()}, 'argument "translate"'),
            ({"translate": [[1], [1, 2]]}, 'argument "translate"'),
            ({"paths": 3}, r'argument "paths" \(string\[\]\) takes a list of str, not 3'),
            ({"paths": ["a", 3]}, 'argument "paths"'),
            ({"order": 1.5}, r'argument "order" \(string\) takes a path or a str, not 1.5'),
            ({"paths": tellar.attribute([1, 2])}, 'argument "paths"'),
        ],
    )
    def test_wrong_arguments_are_type_errors_that_name_them(
        self, arguments: dict[str, Any], text: str
    ) -> None:
        with pytest.raises(TypeError, match=text):
            moved(**arguments)

    def test_other_wrong_types(self) -> None:
        with pytest.raises(TypeError, match=r'"keepNames" \(int\) takes one int, not 0.5'):
            tellar.ops.Prune(ball_scene(), paths=[], keepNames=0.5)  # type: ignore[arg-type]
        with pytest.raises(TypeError, match=r'RenderSettings: argument "settings" \(group\)'):
            tellar.ops.RenderSettings(settings=[1, 2])  # type: ignore[arg-type]

    def test_a_wrong_number_of_values_has_fields(self) -> None:
        with pytest.raises(tellar.InvalidValueError, match="takes 3 floats, not 2") as caught:
            moved(translate=[1, 2])
        assert (caught.value.op_type, caught.value.attribute) == ("Transform", "translate")

    def test_inputs_are_counted_and_checked(self) -> None:
        ball = ball_scene()
        function: Callable[..., tellar.Op] = tellar.ops.Transform
        with pytest.raises(TypeError, match="Transform takes one input, not 2"):
            function(ball, ball, paths=[])
        with pytest.raises(TypeError, match="StaticScene takes no inputs, not 1"):
            getattr(tellar.ops, "StaticScene")(ball)
        with pytest.raises(TypeError, match="Merge: input 1 is a str, not an Op"):
            getattr(tellar.ops, "Merge")(ball, "x")
        with pytest.raises(TypeError, match="name of an op is a str, not an int"):
            getattr(tellar.ops, "Merge")(ball, name=3)
        with pytest.raises(tellar.BadCallError, match="must not be empty"):
            tellar.ops.Merge(ball, name="")


    def test_lists_of_tuples(self) -> None:
        moves = [[0, 0, 0], [5, 0, 0]]
        for given in (moves, np.ravel(moves), np.array(moves, dtype=np.float32)):
            op = tellar.ops.Instances(
                ball_scene(), sources=["/root/world/ball"], target="/root/world/two",
                translates=given,
            )
            value = op.arguments.attribute("translates")
            assert isinstance(value, tellar.Attribute)
            assert (value.type, value.tuple_size, len(value.value)) == ("double", 3, 2)
        with pytest.raises(tellar.InvalidValueError, match="any number of 3 floats, not 4"):
            tellar.ops.Instances(
                ball_scene(), sources=[], target="/root/world/two", translates=[1, 2, 3, 4]
            )
        named = inspect.signature(tellar.ops.Instances).parameters["translates"].annotation
        assert "Sequence[collections.abc.Sequence[float]]" in str(named)


class TestOp:
    def test_its_parts(self) -> None:
        ball = ball_scene("ball")
        op = tellar.ops.Merge(ball, None, name="both")
        assert (op.type, op.name, op.inputs) == ("Merge", "both", (ball, None))
        assert len(op.arguments) == 0
        assert repr(op) == "<Op Merge(ball, None, name='both')>"
        assert repr(moved(ball)) == "<Op Transform(ball, paths, translate)>"
        assert ball_scene().name is None

    def test_it_is_immutable(self) -> None:
        op: Any = ball_scene()
        with pytest.raises(AttributeError, match="immutable"):
            op.name = "other"
        with pytest.raises(AttributeError, match="immutable"):
            del op._name
        with pytest.raises(AttributeError):
            op.other = 1

    def test_an_op_of_an_unknown_type_can_be_made(self) -> None:
        op = tellar.Op("NotThere", ball_scene(), arguments={"amount": 2})
        assert op.description()["notThere1.opType"] == "NotThere"
        with pytest.raises(tellar.CookError, match="no op type of this name"):
            op.scene().root

    def test_its_description(self) -> None:
        ball = ball_scene()
        left, right = moved(ball), moved(ball, translate=[1, 0, 0])
        description = tellar.ops.Merge(left, right).description()
        assert list(description) == ["staticScene1", "transform1", "transform2", "merge1"]
        assert description["merge1.opInputs"] == ("transform1", "transform2")
        assert description["transform2.opInputs"] == "staticScene1"
        assert description["transform2.opArgs.translate"].tolist() == [1, 0, 0]
        assert "opInputs" not in description["staticScene1"]

    def test_default_names_leave_given_ones_alone(self) -> None:
        op = tellar.ops.Merge(ball_scene("merge1"), ball_scene())
        assert list(op.description()) == ["merge1", "staticScene1", "merge2"]

    def test_names_with_dots_and_slashes_stay(self) -> None:
        op = tellar.ops.Merge(ball_scene("a.b/c"), name="d.e")
        assert list(op.description()) == ["a.b/c", "d.e"]
        assert "/root/world/ball" in op.scene()

    def test_two_ops_of_one_name_are_refused(self) -> None:
        op = tellar.ops.Merge(ball_scene("same"), ball_scene("same"))
        with pytest.raises(tellar.BadCallError, match='two ops have the name "same"') as caught:
            op.description()
        assert caught.value.op == "same"

    def test_a_deep_graph_does_not_recurse(self) -> None:
        op = ball_scene()
        for _ in range(20000):
            op = tellar.Op("Merge", op)
        assert len(op.description()) == 20001

    def test_a_wide_shared_graph_is_described_in_linear_time(self) -> None:
        op = ball_scene()
        for _ in range(200):
            op = tellar.Op("Merge", op, op)
        assert len(op.description()) == 201

    def test_equal_graphs_have_equal_identities(self) -> None:
        assert moved().scene().identity == moved().scene().identity
        assert moved().scene().identity != moved(translate=[0, 3, 0]).scene().identity


class TestScenes:
    def test_of_an_op(self) -> None:
        scene = tellar.scene(moved())
        assert scene["/root/world/ball"].world_matrix()[3].tolist() == [0, 2, 0, 1]
        assert scene["/root/world/ball"]["geometry.radius"] == [1.5]

    def test_of_a_description(self) -> None:
        mapping = {
            "ball": {"opType": "StaticScene", "opArgs": {"c": {"ball": {"a": BALL}}}},
            "other": {"opType": "StaticScene", "opArgs": {"c": {"other": {}}}, "opInputs": []},
            "both": {"opType": "Merge", "opInputs": ["ball", "other", None]},
        }
        scene = tellar.scene(mapping)
        assert scene.root.children.names == ["ball", "other"]
        again = tellar.scene(scene.description)
        assert again.identity == scene.identity

    def test_of_no_description(self) -> None:
        with pytest.raises(tellar.BadCallError, match="holds no op"):
            tellar.scene({})
        with pytest.raises(tellar.BadCallError, match='op "a": an op is a mapping') as caught:
            tellar.scene({"a": 3})
        assert caught.value.op == "a"
        with pytest.raises(TypeError, match="an Op, a Scene or a description"):
            tellar.scene(3)  # type: ignore[arg-type]

    def test_the_ops_of_a_scene(self, garden: tellar.Scene) -> None:
        last = garden.op()
        assert last.name == list(garden.description)[-1]
        assert last.scene().identity == garden.identity
        windmill = garden.op("windmill")
        assert windmill.name == "windmill"
        with pytest.raises(tellar.NotFoundError, match='no op "windmil"; did you mean windmill?'):
            garden.op("windmil")

    def test_an_op_of_a_scene_can_be_used_again(self, garden: tellar.Scene) -> None:
        op = tellar.ops.Prune(garden.op(), paths=["/root/world/*"])
        assert garden.root.children.names == op.scene().root.children.names
        assert op.scene()["/root/world"].children.names == []

    def test_ops_that_depend_on_themselves(self) -> None:
        circle = {
            "a": {"opType": "Merge", "opInputs": ["b"]},
            "b": {"opType": "Merge", "opInputs": ["a"]},
        }
        with pytest.raises(tellar.BadCallError, match="depends on itself"):
            tellar.scene(circle).op()


class TestFiles:
    @pytest.mark.parametrize("compress", [False, True])
    def test_an_op_file_opens_as_the_same_scene(self, tmp_path: Path, compress: bool) -> None:
        op = moved()
        tellar.write_op_file(op, tmp_path / "shot.oxop", compress=compress)
        assert tellar.open(tmp_path / "shot.oxop").identity == op.scene().identity

    def test_json_is_returned_and_written(self, tmp_path: Path) -> None:
        op = moved()
        text = tellar.write_json(op, tmp_path / "shot.json")
        assert (tmp_path / "shot.json").read_text() == text
        assert [item["type"] for item in json.loads(text)["ops"]] == ["StaticScene", "Transform"]
        assert tellar.open(tmp_path / "shot.json").identity == op.scene().identity
        assert [path.name for path in tmp_path.iterdir()] == ["shot.json"]
        assert tellar.write_json(op) == text
        assert tellar.write_json(op.description()) == text

    def test_an_edited_scene_is_written_as_it_is_now(self, tmp_path: Path) -> None:
        scene = moved().scene()
        with scene.edit() as edit:
            edit.set_argument("transform1", "translate", [7, 0, 0])
        tellar.write_op_file(scene, tmp_path / "edited.oxop")
        again = tellar.open(tmp_path / "edited.oxop")
        assert again["/root/world/ball"].world_matrix()[3][0] == 7

    def test_a_missing_input_is_written(self, tmp_path: Path) -> None:
        op = tellar.ops.Merge(None, ball_scene())
        text = tellar.write_json(op, tmp_path / "a.json")
        assert json.loads(text)["ops"][-1]["inputs"] == [None, "staticScene1"]
        assert tellar.open(tmp_path / "a.json").identity == op.scene().identity

    def test_relative_files_count_from_the_working_directory(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, examples: Path
    ) -> None:
        (tmp_path / "models").mkdir()
        (tmp_path / "shots").mkdir()
        (tmp_path / "models" / "a.obj").write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
        monkeypatch.chdir(tmp_path)
        op = tellar.ops.SceneImport(file="models/a.obj")
        tellar.write_op_file(op, "shots/a.oxop")
        text = tellar.write_json(op, "shots/a.json")
        assert json.loads(text)["ops"][0]["args"] == {"file": "../models/a.obj"}
        assert json.loads(tellar.write_json(op))["ops"][0]["args"] == {"file": "models/a.obj"}
        monkeypatch.chdir(examples)
        (tmp_path / "shots").rename(tmp_path / "other")
        for name in ("a.oxop", "a.json"):
            meshes = list(tellar.open(tmp_path / "other" / name).walk(types=["polymesh"]))
            assert len(meshes) == 1, name

    def test_errors_name_the_file(self, tmp_path: Path) -> None:
        missing = tmp_path / "missing" / "a.json"
        with pytest.raises(tellar.FileError, match="there is no folder") as caught:
            tellar.write_json(moved(), missing)
        assert caught.value.file == str(missing)
        with pytest.raises(tellar.FileError, match="missing"):
            tellar.write_op_file(moved(), tmp_path / "missing" / "a.oxop")
        (tmp_path / "folder").mkdir()
        with pytest.raises(tellar.FileError, match="folder") as caught:
            tellar.write_json(moved(), tmp_path / "folder")
        with pytest.raises(tellar.FileError, match="folder"):
            tellar.write_op_file(moved(), tmp_path / "folder")
        assert [path.name for path in tmp_path.iterdir()] == ["folder"]
        with pytest.raises(TypeError, match="an Op, a Scene or a description"):
            tellar.write_json(3)  # type: ignore[arg-type]


class TestEdits:
    def test_a_changed_argument(self) -> None:
        scene = moved().scene()
        before = scene["/root/world/ball"]
        with scene.edit() as edit:
            edit.set_argument("transform1", "translate", [0, 5, 0])
            assert scene.revision == 0
        assert scene.revision == 1
        assert [(item.path, item.kind, item.parts) for item in edit.changes] == [
            ("/root/world/ball", "changed", ["transform"])
        ]
        assert repr(edit.changes[0]) == "<SceneChange /root/world/ball changed, transform>"
        assert scene["/root/world/ball"].world_matrix()[3][1] == 5
        assert before.world_matrix()[3][1] == 2

    def test_arguments_are_converted_for_the_type(self) -> None:
        scene = moved().scene()
        with scene.edit() as edit:
            edit.set_argument("transform1", "paths", [])
            with pytest.raises(TypeError, match='"translate"'):
                edit.set_argument("transform1", "translate", "abc")
            with pytest.raises(tellar.InvalidValueError, match="takes 3 floats, not 1"):
                edit.set_arguments("transform1", {"paths": [], "translate": [1]})
            with pytest.raises(TypeError, match='no argument "x"'):
                edit.set_argument("transform1", "x", 1)
        assert scene["/root/world/ball"].world_matrix()[3][1] == 0

    def test_ops_are_added_and_removed(self) -> None:
        scene = moved(moved()).scene()
        with scene.edit() as edit:
            edit.add_op("gone", "Prune", ["transform2"], {"paths": ["/root/world/cube"]})
            edit.set_terminal("gone")
            edit.set_inputs("transform2", ["staticScene1"])
            edit.remove_op("transform1")
        kinds = {item.path: item.kind for item in edit.changes}
        assert kinds == {"/root/world/ball": "changed", "/root/world/cube": "removed"}
        assert list(scene.description) == ["staticScene1", "transform2", "gone"]
        with scene.edit() as edit:
            edit.set_terminal("transform2")
        assert [(item.path, item.kind) for item in edit.changes] == [("/root/world/cube", "added")]
        assert len(edit.changes[0].parts) == 9

    def test_types_inputs_and_arguments_are_replaced(self) -> None:
        scene = moved().scene()
        with scene.edit() as edit:
            edit.set_type("transform1", "Prune")
            edit.set_arguments("transform1", {"paths": "/root/world/ball"})
        assert [item.kind for item in edit.changes] == ["removed"]
        with scene.edit() as edit:
            edit.set_argument("staticScene1", "c.world.c.cube.a.user.size", 2.0)
        assert [item.attributes for item in edit.changes] == [["user"]]
        with scene.edit() as edit:
            edit.remove_argument("staticScene1", "c")
            edit.set_inputs("transform1", ["staticScene1"])
        assert [item.path for item in edit.changes if item.kind == "removed"] == ["/root/world"]

    def test_an_exception_in_the_block_commits_nothing(self) -> None:
        scene = moved().scene()
        with pytest.raises(ZeroDivisionError):
            with scene.edit() as edit:
                edit.set_argument("transform1", "translate", [9, 9, 9])
                raise ZeroDivisionError
        assert scene.revision == 0
        assert edit.changes == []

    def test_a_commit_that_fails_changes_nothing(self) -> None:
        scene = moved().scene()
        edit = scene.edit()
        edit.remove_op("nobody")
        with pytest.raises(tellar.BadCallError, match="nobody"):
            edit.commit()
        edit = scene.edit()
        edit.set_inputs("transform1", ["transform1"])
        with pytest.raises(tellar.Error, match="cycle"):
            edit.commit()
        edit = scene.edit()
        edit.set_type("transform1", "NoSuchType")
        with pytest.raises(tellar.CookError, match="no op type") as caught:
            edit.commit()
        assert (caught.value.op, caught.value.op_type) == ("transform1", "NoSuchType")
        assert scene.revision == 0

    def test_wrong_calls(self) -> None:
        edit: Any = moved().scene().edit()
        with pytest.raises(TypeError, match="a list of names, not a str"):
            edit.set_inputs("transform1", "staticScene1")
        with pytest.raises(TypeError, match="the name of an op or None"):
            edit.set_inputs("transform1", [3])
        with pytest.raises(TypeError, match="an op type is a name or a class with cook"):
            edit.set_type("transform1", 3)

    def test_a_new_error_is_a_change(self) -> None:
        scene = tellar.ops.SceneImport(file="/nowhere/a.obj").scene()
        with scene.edit() as edit:
            edit.set_argument("sceneImport1", "file", "/nowhere/b.obj")
        errors = [item for item in edit.changes if item.new_error]
        assert errors
        assert isinstance(errors[0].new_error, tellar.Error)
        assert "b.obj" in str(errors[0].new_error)
        assert "a.obj" in str(errors[0].old_error)


def test_making_ops_and_attributes_does_not_grow(resident_bytes: Callable[[], int]) -> None:
    source = ball_scene()

    def make(count: int) -> None:
        for number in range(count):
            tellar.ops.Prune(source, paths=["/root/a"], name="pruned")
            tellar.attribute([float(number), 2.0])
            tellar.group({"a.b": number})

    make(2000)
    before = resident_bytes()
    make(34000)
    assert resident_bytes() - before < 4 << 20


def test_describing_and_editing_does_not_grow(resident_bytes: Callable[[], int]) -> None:
    scene = moved().scene()

    def work(count: int) -> None:
        for number in range(count):
            with scene.edit() as edit:
                edit.set_argument("transform1", "translate", [0, number % 7, 1])
            assert len(moved().description()) == 2

    work(300)
    before = resident_bytes()
    work(3000)
    assert resident_bytes() - before < 4 << 20
