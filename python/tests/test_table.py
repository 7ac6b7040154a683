"""Scene.table: values of many locations as arrays."""

from __future__ import annotations

import builtins
import gc
import json
import random
import threading
from collections.abc import Callable, Mapping
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tellar

Open = Callable[[Mapping[str, Any]], tellar.Scene]


@pytest.fixture
def opened(tmp_path: Path) -> Open:
    """Opens a scene of the given children of /root/world."""

    def open_scene(children: Mapping[str, Any]) -> tellar.Scene:
        args = {"location": "/root/world", "a": {"type": "group"}, "c": children}
        path = tmp_path / "scene.json"
        path.write_text(json.dumps({"ops": [{"name": "s", "type": "StaticScene", "args": args}]}))
        return tellar.open(path)

    return open_scene


def leaf(**attributes: Any) -> dict[str, Any]:
    return {"a": {"type": "leaf", **attributes}}


def typed(kind: str, *values: float) -> dict[str, Any]:
    return {"$type": kind, "values": list(values)}


def random_tree(depth: int, random_numbers: random.Random) -> dict[str, Any]:
    """Children whose number of levels, siblings and values is random."""
    children = {}
    for i in range(random_numbers.choice([0, 1, 2, 5]) if depth else 0):
        attributes: dict[str, Any] = {"type": random_numbers.choice(["a", "b", "longer than a few"])}
        if random_numbers.random() < 0.7:
            attributes["xform"] = random_numbers.choice(
                [
                    {"matrix": [random_numbers.random() for _ in range(16)]},
                    {"translate": [1.5, 2.5, i], "rotate": [30.0 * i, 0.1, 1.0, 0.3]},
                    {"origin": 1, "scale": [2.0, 3.0, 0.1]},
                    {"translate": {"$type": "double", "times": [-1, 1],
                                   "samples": [[0, 1, 2], [0.3, 5, 7]]}},
                ]
            )
        if random_numbers.random() < 0.6:
            attributes["some"] = random_numbers.randrange(100)
        attributes["many"] = typed("float", *range(3 * random_numbers.randrange(4)))
        if random_numbers.random() < 0.5:
            attributes["texts"] = ["é" * j for j in range(1, random_numbers.randrange(2, 5))]
        children[f"{i}"] = {"a": attributes, "c": random_tree(depth - 1, random_numbers)}
    return children


@pytest.fixture
def tangle(opened: Open) -> tellar.Scene:
    """Some thousand locations in a tree of no regular shape."""
    return opened({f"t{i}": {"a": {}, "c": random_tree(8, random.Random(i))} for i in range(20)})


EVERYTHING: dict[str, Any] = {
    "path": ...,
    "name": ...,
    "type": ...,
    "depth": ...,
    "parent": ...,
    "world": tellar.WORLD_MATRIX,
    "local": tellar.LOCAL_MATRIX,
    "some": ...,
    "many": "many",
    "texts": "texts",
    "inherited": tellar.global_attribute("some"),
    "nothing": "there.is.none",
}


def assert_same(first: Any, second: Any) -> None:
    """Columns with the same content and form."""
    assert type(first) is type(second)
    if isinstance(first, np.ndarray):
        assert first.dtype == second.dtype
        assert first.shape == second.shape
        assert first.tobytes() == second.tobytes()
    elif isinstance(first, tellar.Ragged):
        assert_same(first.values, second.values)
        assert_same(first.offsets, second.offsets)
    elif isinstance(first, tellar.Categorical):
        assert first.categories == second.categories
        assert_same(first.codes, second.codes)
    else:
        assert_same(first.bytes, second.bytes)
        assert_same(first.offsets, second.offsets)


# What columns hold


def test_rows_are_the_locations_of_a_walk_in_its_order(tangle: tellar.Scene) -> None:
    table = tangle.table("/root", EVERYTHING, threads=1)
    locations = list(tangle.walk())
    assert len(table) == len(locations) > 2000
    assert table.columns == list(EVERYTHING)
    assert list(table["path"]) == [location.path for location in locations]
    assert list(table["name"]) == [location.name for location in locations]
    assert list(table["type"]) == [location.type for location in locations]
    assert table["depth"].tolist() == [location.path.count("/") - 1 for location in locations]
    for row, location in enumerate(locations):
        assert table["world"][row].tobytes() == location.world_matrix().tobytes()
        assert table["local"][row].tobytes() == location.local_matrix().tobytes()
        some = location.get("some")
        assert table["some"][row] == (0 if some is None else some[0])
        assert table.missing["some"][row] == ("some" not in location)
        many = location.get("many")
        assert table["many"][row].tolist() == ([] if many is None else many.reshape(-1).tolist())
        texts = location.get("texts", ())
        assert tuple(table["texts"][row]) == ((texts,) if isinstance(texts, str) else texts)
        inherited = location.global_attribute("some")
        assert table.missing["inherited"][row] == (inherited is None)
    assert table.missing["nothing"].all() and np.isnan(table["nothing"]).all()


@pytest.mark.parametrize("threads", [2, 3, 8, 0])
def test_threads_change_nothing(tangle: tellar.Scene, threads: int) -> None:
    alone = tangle.table("/root", EVERYTHING, threads=1)
    for _ in range(3):
        together = tangle.table("/root", EVERYTHING, threads=threads)
        for name in EVERYTHING:
            assert_same(together[name], alone[name])
            assert_same(together.missing[name], alone.missing[name])


def test_long_runs_of_rows_are_joined(opened: Open) -> None:
    # More rows than a thread gathers in one go.
    scene = opened({f"g{i}": {"a": {}, "c": {f"k{j}": leaf(v=i * 10000 + j) for j in range(10000)}}
                    for i in range(4)})
    for threads in (1, 2, 5):
        table = scene.table("/root/world", {"v": ..., "parent": ..., "path": ...}, ["leaf"],
                            threads=threads)
        assert table["v"].tolist() == list(range(40000))
        assert (table["parent"] == -1).all()
        assert table["path"][39999] == "/root/world/g3/k9999"


def test_parents_are_rows(tangle: tellar.Scene) -> None:
    for threads in (1, 4):
        table = tangle.table("/root/world", {"path": ..., "parent": ...}, threads=threads)
        paths = list(table["path"])
        assert table["parent"][0] == -1
        for path, parent in zip(paths[1:], table["parent"][1:]):
            assert paths[parent] == path.rpartition("/")[0]


def test_parents_that_are_not_selected_have_no_row(opened: Open) -> None:
    scene = opened({"g": {"a": {"type": "group"}, "c": {"k": leaf()}}})
    assert scene.table("/root", {"parent": ...}, types=["leaf"])["parent"].tolist() == [-1]


@pytest.mark.parametrize(
    ("values", "dtype"),
    [
        ([1, 2], np.int32),
        ([1, 2.5], np.float64),
        ([typed("float", 1), typed("float", 0.5)], np.float32),
        ([16777217, typed("float", 0.5)], np.float64),
        ([typed("float", 0.5), 16777217], np.float64),
        ([typed("float", 0.5), 0.1], np.float64),
    ],
)
def test_numbers_get_the_type_that_holds_all(opened: Open, values: Any, dtype: Any) -> None:
    scene = opened({f"k{i}": leaf(v=value) for i, value in enumerate(values)})
    expected = [v["values"][0] if isinstance(v, dict) else v for v in values]
    for threads in (1, 2):
        column = scene.table("/root/world/*", {"v": ...}, threads=threads)["v"]
        assert column.dtype == dtype
        assert column.tolist() == expected


def test_rows_of_equal_length_make_an_array(opened: Open) -> None:
    scene = opened({"a": leaf(v=[1.0, 2.0, 3.0]), "b": leaf(), "c": leaf(v=[4.0, 5.0, 6.0])})
    table = scene.table("/root/world/*", {"v": ...})
    assert table["v"].shape == (3, 3)
    assert table["v"][0].tolist() == [1, 2, 3]
    assert np.isnan(table["v"][1]).all()
    assert table["v"][2].tolist() == [4, 5, 6]
    assert table.missing["v"].tolist() == [False, True, False]


def test_whole_numbers_that_are_missing_are_zero(opened: Open) -> None:
    scene = opened({"a": leaf(), "b": leaf(v=[7, 8]), "c": leaf()})
    table = scene.table("/root/world/*", {"v": ...})
    assert table["v"].dtype == np.int32
    assert table["v"].tolist() == [[0, 0], [7, 8], [0, 0]]
    assert table.missing["v"].tolist() == [True, False, True]


def test_rows_of_other_lengths_make_a_ragged_column(opened: Open) -> None:
    points = [typed("float", *range(6)), None, typed("float", *range(3)), typed("float")]
    scene = opened({f"k{i}": leaf(**({} if p is None else {"P": {**p, "tuple": 3}}))
                    for i, p in enumerate(points)})
    for threads in (1, 3):
        table = scene.table("/root/world/*", {"P": ...}, threads=threads)
        column = table["P"]
        assert isinstance(column, tellar.Ragged)
        assert np.shape(column.values) == (3, 3)
        assert column.offsets.dtype == np.int64
        assert column.offsets.tolist() == [0, 2, 2, 3, 3]
        assert column.lengths.tolist() == [2, 0, 1, 0]
        assert column[2].tolist() == [[0, 1, 2]]
        assert [len(row) for row in column] == [2, 0, 1, 0]
        assert [len(row) for row in column[1:3]] == [0, 1]
        assert np.shares_memory(column[0], column.values)
        assert table.missing["P"].tolist() == [False, True, False, False]
        with pytest.raises(IndexError):
            column[4]


def test_tuples_of_other_sizes_make_flat_values(opened: Open) -> None:
    scene = opened({"a": leaf(v={**typed("int", 1, 2), "tuple": 2}), "b": leaf(v=typed("int", 3))})
    column = scene.table("/root/world/*", {"v": ...})["v"]
    assert column.values.tolist() == [1, 2, 3]
    assert column.offsets.tolist() == [0, 2, 3]


def test_texts_make_strings(opened: Open) -> None:
    scene = opened({"a": leaf(s="one"), "b": leaf(), "c": leaf(s="zwölf"), "d": leaf(s="")})
    table = scene.table("/root/world/*", {"s": ...})
    strings = table["s"]
    assert isinstance(strings, tellar.Strings)
    assert list(strings) == ["one", "", "zwölf", ""]
    assert (strings[2], strings[-1], len(strings)) == ("zwölf", "", 4)
    assert list(strings[1:3]) == ["", "zwölf"]
    assert list(strings[::-2]) == ["", ""]
    assert list(strings[3:1]) == []
    assert strings.to_numpy().tolist() == ["one", "", "zwölf", ""]
    assert strings.to_numpy().dtype == np.dtypes.StringDType()
    assert table.missing["s"].tolist() == [False, True, False, False]
    assert strings.index("zwölf") == 2
    with pytest.raises(IndexError):
        strings[4]


def test_texts_that_are_no_utf8_become_surrogates(opened: Open) -> None:
    scene = opened({"a": leaf(s={"$type": "string", "hex": ["ff61"]})})
    strings = scene.table("/root/world/*", {"s": ...})["s"]
    assert list(strings) == ["\udcffa"] == [scene["/root/world/a"]["s"]]
    assert strings[0] == "\udcffa"
    assert strings.to_numpy().tolist() == ["\udcffa"]
    assert list(strings[::-1]) == ["\udcffa"]


def test_lists_of_texts_make_a_ragged_column(opened: Open) -> None:
    scene = opened({"a": leaf(s="one"), "b": leaf(s=["two", "three"]), "c": leaf()})
    column = scene.table("/root/world/*", {"s": ...})["s"]
    assert isinstance(column, tellar.Ragged)
    assert [list(row) for row in column] == [["one"], ["two", "three"], []]


def test_types_are_categories(opened: Open) -> None:
    scene = opened({"a": leaf(), "b": {"a": {"type": "box"}}, "c": {"a": {}}})
    for threads in (1, 2):
        column = scene.table("/root/world/*", {"type": ...}, threads=threads)["type"]
        assert column.categories == ("", "box", "leaf")
        assert column.codes.dtype == np.int32
        assert list(column) == ["leaf", "box", ""]
        assert column[1] == "box"
        assert list(column[1:]) == ["box", ""]
        assert column.equals("leaf").tolist() == [True, False, False]
        assert not column.equals("sphere").any()
        assert column.to_numpy().tolist() == ["leaf", "box", ""]


def test_columns_may_be_written_to(opened: Open) -> None:
    table = opened({"a": leaf(v=1)}).table("/root/world/*", {"v": ...})
    table["v"][0] = 5
    assert table["v"].tolist() == [5]


# What is selected


def test_patterns_types_and_depth_select(garden: tellar.Scene) -> None:
    columns = {"path": ...}
    for arguments in (
        {"at": "/root/world/garden/**/l*"},
        {"at": "/root/world", "types": ["polymesh", "camera"]},
        {"at": "/root", "max_depth": 2},
        {"at": "/root/world/garden/ground/**"},
    ):
        walked = [location.path for location in garden.walk(**arguments)]
        table = garden.table(columns=columns, **arguments)
        assert list(table["path"]) == walked
        assert walked


def test_a_start_below_the_root_knows_what_is_above(opened: Open) -> None:
    scene = opened({"g": {"a": {"xform": {"translate": [1.0, 2.0, 3.0]}, "u": 5},
                          "c": {"k": leaf(xform={"translate": [10.0, 0.0, 0.0]})}}})
    table = scene.table("/root/world/g/k", {
        "m": tellar.WORLD_MATRIX, "depth": ..., "path": ..., "u": tellar.global_attribute("u")})
    assert table["m"][0, 3].tolist() == [11, 2, 3, 1]
    assert table["depth"].tolist() == [3]
    assert list(table["path"]) == ["/root/world/g/k"]


@pytest.mark.parametrize("at", ["/root/nothing*", "/root/nothing/x*", "/root/world/none*/x"])
@pytest.mark.parametrize("threads", [1, 4])
def test_nothing_selected_makes_empty_columns(garden: tellar.Scene, at: str, threads: int) -> None:
    table = garden.table(at, EVERYTHING, threads=threads)
    assert len(table) == 0
    assert table["world"].shape == (0, 4, 4)
    assert table["some"].shape == (0,)
    assert list(table["path"]) == [] == list(table["type"]) == list(table["many"])
    assert table["path"].to_numpy().shape == (0,)
    assert table.missing["some"].shape == (0,)
    assert "0 rows" in repr(table) and "0 rows" in table._repr_html_()
    assert len(table.to_pandas()) == 0


def test_a_table_without_columns_counts(garden: tellar.Scene) -> None:
    assert len(garden.table("/root", {})) == sum(1 for _ in garden.walk())


# What goes wrong


def test_numbers_and_texts_do_not_mix(opened: Open) -> None:
    scene = opened({"a": leaf(v=1), "b": leaf(), "c": leaf(v="text")})
    for threads in (1, 2):
        with pytest.raises(tellar.InvalidValueError) as caught:
            scene.table("/root/world/*", {"mine": "v"}, threads=threads)
        assert str(caught.value) == (
            'column "mine": "v" is a number at /root/world/a and a string at /root/world/c'
        )
        assert caught.value.attribute == "v"


def test_numbers_and_texts_of_different_threads_do_not_mix(opened: Open) -> None:
    scene = opened({f"g{i}": {"a": {}, "c": {f"k{j}": leaf(v="s" if i == 3 else j)
                                             for j in range(500)}} for i in range(4)})
    for _ in range(20):
        with pytest.raises(tellar.InvalidValueError, match="is a (number|string) at /root/world/g"):
            scene.table("/root/world/**", {"v": ...}, threads=4)


def test_a_group_is_no_value(opened: Open) -> None:
    scene = opened({"a": leaf(v={"w": 1})})
    with pytest.raises(tellar.InvalidValueError, match='column "v": "v" is a group at /root/world/a'):
        scene.table("/root/world/*", {"v": ...})


@pytest.mark.parametrize(
    ("columns", "message"),
    [
        ({"v": 3}, 'column "v": 3 is neither'),
        ({"v": ""}, 'column "v": the name of the attribute is empty'),
        ({3: "v"}, "the name 3 is no str"),
        (["v"], "a mapping of names is needed, not list"),
    ],
)
def test_columns_that_are_none_are_refused(
    garden: tellar.Scene, columns: Any, message: str
) -> None:
    with pytest.raises(tellar.BadCallError, match=message):
        garden.table("/root", columns)


def test_other_arguments_are_checked(garden: tellar.Scene) -> None:
    with pytest.raises(tellar.NotFoundError, match="/root/nothing"):
        garden.table("/root/nothing", {})
    with pytest.raises(tellar.BadCallError, match="threads"):
        garden.table("/root", {}, threads=-1)
    with pytest.raises(tellar.BadCallError, match="absolute"):
        garden.table("world", {})
    with pytest.raises(tellar.BadCallError, match="no name"):
        tellar.global_attribute("")


@pytest.fixture
def damaged(tmp_path: Path) -> tellar.Scene:
    """A scene of which two locations cannot be computed: /root/world/bad and /root/materials."""
    ops = [
        {"name": "bad", "type": "SceneImport",
         "args": {"file": "missing.glb", "location": "/root/world/bad"}},
        {"name": "good", "type": "StaticScene",
         "args": {"location": "/root/world/good", "c": {"k": leaf(), "l": leaf()}}},
        {"name": "all", "type": "Merge", "inputs": ["bad", "good"]},
    ]
    path = tmp_path / "damaged.json"
    path.write_text(json.dumps({"ops": ops}))
    return tellar.open(path)


@pytest.mark.parametrize("threads", [1, 3])
def test_an_error_of_a_location_is_raised(damaged: tellar.Scene, threads: int) -> None:
    with pytest.raises(tellar.FileError, match="missing.glb") as caught:
        damaged.table("/root", {"path": ...}, threads=threads)
    assert caught.value.location in ("/root/world/bad", "/root/materials")


@pytest.mark.parametrize("threads", [1, 3])
def test_errors_are_handed_over_in_order(damaged: tellar.Scene, threads: int) -> None:
    errors: list[tellar.Error] = []
    table = damaged.table("/root", {"path": ...}, threads=threads, on_error=errors.append)
    assert [error.location for error in errors] == ["/root/world/bad", "/root/materials"]
    assert list(table["path"]) == [
        "/root", "/root/world", "/root/world/good", "/root/world/good/k", "/root/world/good/l"]


def test_what_the_error_handler_raises_comes_through(damaged: tellar.Scene) -> None:
    def refuse(error: tellar.Error) -> None:
        raise RuntimeError(f"seen {error.location}")

    with pytest.raises(RuntimeError, match="seen /root/world/bad"):
        damaged.table("/root", {}, on_error=refuse)


# Forms and lifetimes


def test_a_table_shows_its_first_rows(garden: tellar.Scene) -> None:
    columns: dict[str, tellar.ColumnLike] = {"path": ..., "bound": ..., "P": "geometry.point.P"}
    table = garden.table("/root", columns)
    lines = repr(table).splitlines()
    assert lines[0] == f"<Table of {len(table)} rows: path, bound, P>"
    assert lines[1].split() == ["path", "bound", "P"]
    assert lines[2].split() == ["/root", "-", "-"]
    assert lines[-1] == "..."
    page = table._repr_html_()
    assert page.count("<tr>") == 11
    assert "<th>bound</th>" in page
    assert "bound" in table and list(table) == list(columns)
    with pytest.raises(KeyError, match="there is no column 'x', only path, bound, P"):
        table["x"]


def test_html_is_escaped(opened: Open) -> None:
    table = opened({"a": leaf(s="<b>&")}).table("/root/world/*", {"<i>": "s"})
    assert "<b>" not in table._repr_html_() and "<i>" not in table._repr_html_()
    assert "&lt;b&gt;&amp;" in table._repr_html_()


def test_pandas_gets_columns_of_its_own_kinds(opened: Open) -> None:
    pytest.importorskip("pandas")
    scene = opened({"a": leaf(v=[1.0, 2.0], n=1, s="x", r=[1]), "b": leaf(n=2, r=[1, 2])})
    frame = scene.table("/root/world/*", {"type": ..., "v": ..., "n": ..., "s": ..., "r": ...})
    frame = frame.to_pandas()
    assert list(frame.columns) == ["type", "v.0", "v.1", "n", "s", "r"]
    assert frame["type"].dtype == "category"
    assert frame["v.1"].isna().tolist() == [False, True]
    assert frame["n"].tolist() == [1, 2]
    assert frame["s"].isna().tolist() == [False, True]
    assert frame["r"][1].tolist() == [1, 2]


def test_without_pandas_the_error_says_what_to_install(
    garden: tellar.Scene, monkeypatch: pytest.MonkeyPatch
) -> None:
    actual = builtins.__import__

    def without_pandas(name: str, *arguments: Any, **others: Any) -> Any:
        if name == "pandas":
            raise ImportError("no pandas")
        return actual(name, *arguments, **others)

    monkeypatch.setattr(builtins, "__import__", without_pandas)
    with pytest.raises(ImportError, match=r'pip install "tellar\[pandas\]"'):
        garden.table("/root", {}).to_pandas()


def test_arrays_outlive_the_table_and_the_scene(opened: Open) -> None:
    scene = opened({f"k{i}": leaf(v=i, w=typed("int", *range(i % 100))) for i in range(5000)})
    table = scene.table("/root/world/*", {"v": ..., "w": ..., "path": ...}, max_depth=1)
    values, ragged, paths = table["v"], table["w"], table["path"]
    del scene, table
    gc.collect()
    assert values.tolist() == list(range(5000))
    assert ragged[4999].tolist() == list(range(99))
    row = ragged[10]
    del ragged
    gc.collect()
    assert row.tolist() == list(range(10))
    assert paths[4999] == "/root/world/k4999"


def test_python_threads_share_a_scene(tangle: tellar.Scene) -> None:
    expected = tangle.table("/root", EVERYTHING, threads=1)
    failures: list[object] = []

    def work(number: int) -> None:
        try:
            for _ in range(2):
                table = tangle.table("/root", EVERYTHING, threads=1 + number % 3)
                for name in EVERYTHING:
                    assert_same(table[name], expected[name])
                paths = [location.path for location in tangle.walk(threads=1 + number % 3)]
                assert paths == list(expected["path"])
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures


def test_tables_leave_no_memory_behind(
    tangle: tellar.Scene, damaged: tellar.Scene, resident_bytes: Callable[[], int]
) -> None:
    def gather() -> None:
        tangle.table("/root", EVERYTHING, threads=2)
        tangle.table("/root", EVERYTHING, threads=1)
        damaged.table("/root", EVERYTHING, on_error=lambda error: None)
        with pytest.raises(tellar.Error):
            damaged.table("/root", EVERYTHING)

    for _ in range(20):
        gather()
    before = resident_bytes()
    for _ in range(60):
        gather()
    assert resident_bytes() - before < 8 << 20
