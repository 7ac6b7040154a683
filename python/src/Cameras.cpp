#include "Cameras.h"

#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarSDK/TellarError.h>
#include <ResolutionTableOx/ResolutionTable.h>
#include <nanobind/ndarray.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>

#include "Classes.h"
#include "Locations.h"
#include "Unlocked.h"
#include "Values.h"

namespace nb = nanobind;
using namespace nb::literals;

namespace TellarPython {

namespace {

using TELLAR::CameraInfo;
using TELLAR::GeometryProducer;

using PictureSize = std::pair<int, int>;
using Points = nb::ndarray<const double, nb::ndim<2>, nb::c_contig, nb::device::cpu>;

/// A camera with the picture of its scene. Python's class Camera.
struct Camera {
    std::string path;
    std::shared_ptr<const CameraInfo> info; // never null
    GeometryProducer::Ptr root;
};

PictureSize SizeOfName(const std::string& name) {
    const auto table = GetResolutionTable(nullptr);
    if (!table) throw TellarError(kOxErrorFile, "the table of resolutions cannot be read");
    try {
        const ResolutionTableEntry& entry = table->getResolution(name);
        return {entry.getWidth(), entry.getHeight()};
    } catch (const std::runtime_error& error) {
        throw TellarError(kOxErrorBadCall, error.what());
    }
}

/// The size that is asked for by a name or as a pair; the scene's for None.
PictureSize SizeOf(const Camera& camera, nb::handle resolution) {
    if (PyUnicode_Check(resolution.ptr())) return SizeOfName(BytesOf(resolution));
    PictureSize size{};
    if (resolution.is_none())
        TELLAR::GetRenderResolution(nullptr, &size.first, &size.second, camera.root);
    else if (!nb::try_cast(resolution, size) || size.first < 1 || size.second < 1)
        throw TellarError(kOxErrorBadCall, "a resolution is a name or a width and a height in "
                                           "pixels");
    return size;
}

/// The array (n, 3) of doubles that a value is or can be made into.
Points PointsFrom(nb::handle value) {
    const nb::module_ numpy = nb::module_::import_("numpy");
    const nb::object array = numpy.attr("ascontiguousarray")(value, "dtype"_a = "float64");
    Points points;
    if (!nb::try_cast(array, points) || points.shape(1) != 3)
        throw TellarError(kOxErrorBadCall, "points are an array of the shape (n, 3)");
    return points;
}

nb::object Project(const Camera& self, nb::handle value, nb::handle resolution) {
    const Points points = PointsFrom(value);
    const PictureSize size = SizeOf(self, resolution);
    const Imath::Matrix44<double> toScreen =
        TELLAR::GetWorldToScreenMatrix(*self.info, size.first, size.second);
    std::vector<double> pixels(points.shape(0) * 3);
    Unlocked([&] {
        for (std::size_t i = 0; i < points.shape(0); ++i) {
            const double* const point = points.data() + 3 * i;
            double clip[4];
            for (int column = 0; column < 4; ++column)
                clip[column] = point[0] * toScreen[0][column] + point[1] * toScreen[1][column] +
                               point[2] * toScreen[2][column] + toScreen[3][column];
            for (int axis = 0; axis < 3; ++axis)
                pixels[3 * i + static_cast<std::size_t>(axis)] =
                    clip[3] > 0 ? clip[axis] / clip[3] : std::numeric_limits<double>::quiet_NaN();
        }
    });
    return NewArray(pixels.data(), points.shape(0), 3);
}

void AddLens(nb::class_<Camera>& type) {
    type.def_prop_ro(
            "fov", [](const Camera& self) { return self.info->fov; },
            "The field of view across a screen window from -1 to 1, in degrees.")
        .def_prop_ro(
            "near", [](const Camera& self) { return self.info->near; },
            "The distance of the near clipping plane.")
        .def_prop_ro(
            "far", [](const Camera& self) { return self.info->far; },
            "The distance of the far clipping plane.")
        .def_prop_ro(
            "window",
            [](const Camera& self) {
                return nb::make_tuple(self.info->left, self.info->right, self.info->bottom,
                                      self.info->top);
            },
            nb::sig("def window(self) -> tuple[float, float, float, float]"),
            "The screen window: left, right, bottom, top, where 1 is half the field of\n"
            "view.")
        .def_prop_ro(
            "is_orthographic", [](const Camera& self) { return self.info->orthographic; },
            "Whether the camera has parallel rays.")
        .def_prop_ro(
            "orthographic_width", [](const Camera& self) { return self.info->orthographicWidth; },
            "Twice the length, in the scene, of one unit of the screen window of an\n"
            "orthographic camera; 0 when it is not given.");
}

} // namespace

nb::object CameraAt(const GeometryProducer::Ptr& root, const std::string& path) {
    const std::string cameraPath = path.empty() ? TELLAR::GetCameraPath(root) : path;
    auto info = Unlocked([&]() -> std::shared_ptr<CameraInfo> {
        const GeometryProducer::Ptr location = root ? root->getProducerByPath(cameraPath) : nullptr;
        return location ? TELLAR::ReadCameraInfo(*location) : nullptr;
    });
    if (!info) RaiseNotFound("there is no camera at " + cameraPath, cameraPath);
    return nb::cast(Camera{cameraPath, std::move(info), root});
}

void AddCameras(nb::module_& module) {
    nb::class_<Camera> type(
        module, "Camera",
        "A camera of a scene at time 0: its lens and its transform. It looks along\n"
        "its own -z with +y up.");
    type.def_prop_ro(
        "path", [](const Camera& self) { return TextOf(self.path); },
        nb::sig("def path(self) -> str"), "The path of its location.");
    AddLens(type);
    type.def_prop_ro(
            "world_matrix", [](const Camera& self) { return NewMatrix(self.info->xform); },
            nb::sig("def world_matrix(self) -> DoubleArray"),
            "Camera space to the world: an array (4, 4) for row vectors.")
        .def(
            "projection_matrix",
            [](const Camera& self, double aspect) {
                return NewMatrix(
                    TELLAR::GetProjectionMatrix(*self.info, static_cast<float>(aspect)));
            },
            "aspect"_a, nb::sig("def projection_matrix(self, aspect: float) -> DoubleArray"),
            "Camera space to clip space: an array (4, 4) for row vectors; divide by w. `aspect` "
            "is\n"
            "the width of the picture divided by its height.")
        .def(
            "resolution",
            [](const Camera& self, nb::handle resolution) {
                const PictureSize size = SizeOf(self, resolution);
                return nb::make_tuple(size.first, size.second);
            },
            "resolution"_a.none() = nb::none(),
            nb::sig("def resolution(self, resolution: Resolution | None = None) "
                    "-> tuple[int, int]"),
            "Width and height in pixels of a resolution; of the scene's unless given.")
        .def("project", Project, "points"_a, "resolution"_a.none() = nb::none(),
             nb::sig("def project(self, points: ArrayLike, resolution: Resolution | None = None) "
                     "-> DoubleArray"),
             "Points of the world, an array (n, 3), on the picture: an array (n, 3) of x and y in\n"
             "pixels from the left and the bottom edge, and the depth from 0 at the near plane to "
             "1\n"
             "at the far one. Points that are not in front of the camera become NaN. `resolution`\n"
             "is a name or (width, height); the scene's unless given.")
        .def(
            "__repr__", [](const Camera& self) { return TextOf("<Camera " + self.path + ">"); },
            nb::sig("def __repr__(self) -> str"));
}

} // namespace TellarPython
