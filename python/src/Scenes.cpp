#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>
#include <nanobind/stl/filesystem.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Cameras.h"
#include "Classes.h"
#include "Edits.h"
#include "Locations.h"
#include "OpTypes.h"
#include "Table.h"
#include "Unlocked.h"
#include "Values.h"
#include "Walk.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using TELLAR::GeometryProducer;
using TELLAR::Scene;

std::shared_ptr<Scene> Open(const std::filesystem::path& path) {
    return Unlocked([&] {
        if (!HasRedefinedOpTypes()) return Scene::Open(path.string());
        const TELLAR::SceneDescription read = TELLAR::ReadSceneDescription(path.string());
        const OxAttribute::GroupAttribute newest = WithNewestOpTypes(read.ops);
        return newest.getHandle() == read.ops.getHandle()
                   ? Scene::Open(path.string())
                   : Scene::FromDescription(newest, read.text.places);
    });
}

GeometryProducer::Ptr Find(const Scene& self, const std::string& path) {
    return Unlocked([&] {
        const GeometryProducer::Ptr root = self.getRoot();
        return root && !path.empty() && path[0] == '/' ? root->getProducerByPath(path) : nullptr;
    });
}

GeometryProducer::Ptr Required(const Scene& self, const std::string& path) {
    GeometryProducer::Ptr location = Find(self, path);
    if (!location) RaiseNotFound("the scene has no location " + path, path);
    return location;
}

void CheckThreads(int threads) {
    if (threads < 0) throw TellarError(kOxErrorBadCall, "threads: the number must not be negative");
}

/// Null when there is nothing that a pattern may match.
GeometryProducer::Ptr StartOf(const Scene& self, const Selection& selection) {
    return selection.isPattern() ? Find(self, selection.getStart())
                                 : Required(self, selection.getStart());
}

nb::object Walked(const Scene& self, nb::str where,
                  const std::optional<std::vector<std::string>>& types,
                  std::optional<std::size_t> maxDepth, int threads, nb::object onError) {
    CheckThreads(threads);
    Selection selection(BytesOf(where), types.value_or(std::vector<std::string>()), maxDepth);
    GeometryProducer::Ptr start = StartOf(self, selection);
    return WalkOf(std::move(start), std::move(selection), threads, std::move(onError));
}

nb::object Tabled(const Scene& self, nb::str where, nb::object columns,
                  const std::optional<std::vector<std::string>>& types,
                  std::optional<std::size_t> maxDepth, int threads, nb::object onError) {
    CheckThreads(threads);
    Selection selection(BytesOf(where), types.value_or(std::vector<std::string>()), maxDepth);
    GeometryProducer::Ptr start = StartOf(self, selection);
    return TableOf(std::move(start), std::move(selection), std::move(columns), threads,
                   std::move(onError));
}

void AddLocationsOf(nb::class_<Scene>& type) {
    type.def_prop_ro(
            "root", [](const Scene& self) { return Location{Required(self, "/root")}; },
            "The location \"/root\". Raises NotFoundError when the scene has none.")
        .def(
            "__getitem__",
            [](const Scene& self, nb::str path) { return Location{Required(self, BytesOf(path))}; },
            nb::sig("def __getitem__(self, path: str, /) -> Location"),
            "The location at an absolute path. Raises NotFoundError, which is a KeyError, when it\n"
            "does not exist, and CookError when it could not be computed.")
        .def(
            "get",
            [](const Scene& self, nb::str path) -> nb::object {
                GeometryProducer::Ptr location = Find(self, BytesOf(path));
                return location ? nb::cast(Location{std::move(location)}) : nb::none();
            },
            "path"_a, nb::sig("def get(self, path: str) -> Location | None"),
            "The location at an absolute path; None if it does not exist.")
        .def(
            "__contains__",
            [](const Scene& self, nb::handle path) {
                return PyUnicode_Check(path.ptr()) && Find(self, BytesOf(path));
            },
            nb::sig("def __contains__(self, path: object, /) -> bool"))
        .def(
            "walk", Walked, "at"_a = "/root", "types"_a = nb::none(), "max_depth"_a = nb::none(),
            "threads"_a = 1, "on_error"_a = nb::none(),
            nb::sig("def walk(self, at: str = \"/root\", types: Iterable[str] | None = None, "
                    "max_depth: int | None = None, threads: int = 1, "
                    "on_error: Callable[[Error], object] | None = None) -> Walk"),
            "The locations from a path on, that one first, in the order of the tree.\n\n"
            "`at` may be a glob pattern: \"/root/**/wheel_*\". `types` leaves out locations of "
            "other\n"
            "types, but not what is below them. `max_depth` counts levels below the start. With "
            "one\n"
            "thread, locations are computed when Python comes to them; more (0: one for each "
            "processor)\n"
            "compute up to a thousand ahead while Python works. The order is the same.\n"
            "The error of a location that cannot be computed is raised, and the next step goes on\n"
            "behind it; with `on_error` it is passed to that function instead. Raises "
            "NotFoundError\n"
            "when the start does not exist, unless it is a pattern.")
        .def(
            "table", Tabled, "at"_a, "columns"_a, "types"_a = nb::none(),
            "max_depth"_a = nb::none(), "threads"_a = 0, "on_error"_a = nb::none(),
            nb::sig("def table(self, at: str, columns: Mapping[str, ColumnLike], "
                    "types: Iterable[str] | None = None, max_depth: int | None = None, "
                    "threads: int = 0, "
                    "on_error: Callable[[Error], object] | None = None) -> Table"),
            "Values of many locations as arrays, one row a location, in the order of the tree.\n\n"
            "`columns` says by name what to gather: PATH, NAME, TYPE, DEPTH, PARENT, "
            "WORLD_MATRIX,\n"
            "LOCAL_MATRIX, `global_attribute(name)`, the dotted name of an attribute, or `...` for "
            "what\n"
            "the column's own name says. `at`, `types` and `max_depth` are as in `walk`. That "
            "many\n"
            "threads (0: one for each processor) gather without the interpreter's lock. The first\n"
            "error of a location is raised; with `on_error`, locations that cannot be computed "
            "are\n"
            "left out with all below them, and their errors are passed to that function at the "
            "end.\n"
            "Raises InvalidValueError where an attribute is a number at one location and a string "
            "at\n"
            "another, and NotFoundError as `walk` does.")
        .def(
            "camera",
            [](const Scene& self, const std::optional<std::string>& path) {
                return CameraAt(self.getRoot(), path.value_or(""));
            },
            "path"_a = nb::none(), nb::sig("def camera(self, path: str | None = None) -> Camera"),
            "The camera at a path; the render camera unless given. Raises NotFoundError when "
            "there\n"
            "is none.");
}

} // namespace

void AddScenes(nb::module_& module) {
    nb::class_<Scene> type(module, "Scene",
                           "A scene that was opened once. Any thread may use it.\n\n"
                           "Locations are computed when they are asked for, and kept.");
    AddLocationsOf(type);
    type.def_prop_ro("revision", &Scene::getRevision,
                     "The number of the newest revision: 0, and one more with every edit.")
        .def_prop_ro(
            "identity", [](const Scene& self) { return self.getIdentity().str(); },
            "The hash of the ops: equal for scenes with equal op trees.")
        .def_prop_ro(
            "description", &Scene::getDescription,
            "The op tree of the newest revision: a group with one child an op, each a group\n"
            "of \"opType\", \"opArgs\" and \"opInputs\". The last op is the terminal one.")
        .def(
            "op",
            [](const Scene& self, nb::handle name) {
                return nb::module_::import_("tellar._ops")
                    .attr("op_of")(self.getDescription(), name);
            },
            "name"_a.none() = nb::none(), nb::sig("def op(self, name: str | None = None) -> Op"),
            "The op of a name with all its inputs; the terminal op unless given. Raises\n"
            "NotFoundError.")
        .def("edit", EditOf, nb::sig("def edit(self) -> SceneEdit"),
             "An empty list of changes to the ops, which a commit applies to the newest revision.")
        .def("__repr__", [](const Scene& self) {
            const auto count = self.getDescription().getNumberOfChildren();
            return "<Scene of " + std::to_string(count) + (count == 1 ? " op>" : " ops>");
        });
    module.def(
        "open", Open, "path"_a, nb::sig("def open(path: str | os.PathLike[str]) -> Scene"),
        "Opens an op file, a description as JSON or as an attribute stream, a capture, or a\n"
        "model that SceneImport reads.\n\n"
        "Nothing of the scene is computed yet. Raises FileError naming the file and what is\n"
        "wrong with it.");
}

} // namespace TellarPython
